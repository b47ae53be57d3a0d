// One row per exported frame on every open worksheet.

#include "excelexporter.h"

#include "abstracttavistudioplugininterface.h"
#include "vantor_quaternion.h"

#include <algorithm>

namespace {

// Stands in for a finger segment when the pose carries no finger data.
BkeSegmentPose defaultFingerRecord()
{
    return BkeSegmentPose{ZtQuaternion_identity(), ZtVector{0.0, 0.0, 0.0}};
}

ZtVector eulerAngles(const ZtQuaternion& q)
{
    return vantor::Quaternion(q).toEuler();
}

} // namespace

bool ExcelExporter::exportFrame(int frame)
{
    if (!m_initialized) {
        m_lastErrorText = tr("Export was not initialized");
        return false;
    }
    if (!useThisFrame(frame))
        return true;

    try {
        if (m_deflateWorkers)
            m_deflateWorkers->throwIfFailed();
        const std::unique_ptr<TaviPoseObject> poseObject = m_host.pose(frame);
        const ConcreteTaviPose* pose = poseObject ? poseObject->pose() : nullptr;
        const int segmentCount = poseObject ? poseObject->segmentStateCount() : 0;
        const int frameOrdinal = m_exportedFrameCount++;

        for (int slot = 0; slot < DataSheetCount; ++slot) {
            const SheetId id = dataSheetAt(slot);
            if (id != SheetId::ExternalData && enabled(id))
                writeSheetRow(id, frame, pose, segmentCount);
        }
        if (m_writeExternalRows)
            writeExternalRows(frame, frameOrdinal);
        if (enabled(SheetId::Markers)) {
            const QString text = m_host.markerText(frame);
            if (!text.isEmpty())
                m_markerList.append({frame, text});
        }
        return true;
    } catch (...) {
        m_lastErrorText = describeFailure(std::current_exception());
        return false;
    }
}

void ExcelExporter::writeSheetRow(SheetId id, int frame, const ConcreteTaviPose* pose, int segmentCount)
{
    xlsx::SheetStream& file = sheet(id);
    const int row = file.nextRow(m_cells, m_nextSheetNumber);
    m_cells.newRow(file, row, rowSpan(sheetEntry(id).span), true);
    m_cells.writeInt(file, row, 1, frame);

    // Without a pose object the fixed groups read as empty vectors.
    const int segments = pose ? segmentCount : 0;
    const auto vec = [&](int index, const ZtVector& v) { m_cells.writeVec(file, row, index, v); };
    // One vector per index 0..count-1 from a per-index accessor of the pose.
    const auto vectors = [&](int count, ZtVector (ConcreteTaviPose::*value)(int) const) {
        for (int i = 0; i < count; ++i)
            vec(i, (pose->*value)(i));
    };

    switch (id) {
    case SheetId::SegmentOriQuat:
        for (int i = 0; i < segments; ++i)
            m_cells.writeQuat(file, row, i, pose->q_gb(i, PoseBaseGlobal));
        writeFingerSegments(id, pose, segments, row);
        break;
    case SheetId::SegmentOriEuler:
        // Converted as the host gives them: segment orientations are not validated.
        for (int i = 0; i < segments; ++i)
            vec(i, eulerAngles(pose->q_gb(i, PoseBaseGlobal)));
        writeFingerSegments(id, pose, segments, row);
        break;
    case SheetId::SegmentPos:
        vectors(segments, &ConcreteTaviPose::pos_g);
        writeFingerSegments(id, pose, segments, row);
        break;
    case SheetId::SegmentVel:
        vectors(segments, &ConcreteTaviPose::vel_g);
        break;
    case SheetId::SegmentAcc:
        vectors(segments, &ConcreteTaviPose::acc_g);
        break;
    case SheetId::SegmentAngVel:
        vectors(segments, &ConcreteTaviPose::angvel_g);
        break;
    case SheetId::SegmentAngAcc:
        vectors(segments, &ConcreteTaviPose::angacc_g);
        break;
    case SheetId::JointAngles:
        vectors(segments - 1, &ConcreteTaviPose::jointAngles);
        writeFingerJoints(id, pose, std::max(segments - 1, 0), row);
        break;
    case SheetId::JointAnglesXzy:
        vectors(segments - 1, &ConcreteTaviPose::jointAnglesXzy);
        writeFingerJoints(id, pose, std::max(segments - 1, 0), row);
        break;
    case SheetId::ErgJointAngles:
        for (int e = 0; pose && e < ErgoIdx::Count; ++e)
            vec(e, pose->jointAnglesErgo(static_cast<ErgoIdx::ErgoIdx>(e)));
        break;
    case SheetId::ErgJointAnglesXzy:
        for (int e = 0; pose && e < ErgoIdx::Count; ++e)
            vec(e, pose->jointAnglesErgoXzy(static_cast<ErgoIdx::ErgoIdx>(e)));
        break;
    case SheetId::CenterOfMass:
        if (pose) {
            vec(0, pose->centerOfMassPos(true));
            vec(1, pose->centerOfMassVel(true));
            vec(2, pose->centerOfMassAcc(true));
        }
        break;
    case SheetId::GlobalPosition:
        if (pose)
            vec(0, pose->globalPosition());
        break;
    case SheetId::SensorFreeAcc:
        // One sensor slot per segment.
        vectors(segments, &ConcreteTaviPose::accG_s);
        break;
    case SheetId::SensorMagField:
        vectors(segments, &ConcreteTaviPose::mag_s);
        break;
    case SheetId::SensorOri:
        for (int i = 0; i < segments; ++i)
            m_cells.writeQuat(file, row, i, pose->q_s(i));
        break;
    case SheetId::SensorOriEuler:
        for (int i = 0; i < segments; ++i) {
            const vantor::Quaternion q(pose->q_s(i));
            vec(i, q.isValid(0.0) ? q.toEuler() : ZtVector{0.0, 0.0, 0.0});
        }
        break;
    case SheetId::GeneralInfo:
    case SheetId::Markers:
    case SheetId::ExternalData:
        break;
    }
}

void ExcelExporter::writeFingerSegments(SheetId id, const ConcreteTaviPose* pose, int segmentCount, int row)
{
    if (!m_hasFingerTracking)
        return;
    xlsx::SheetStream& file = sheet(id);
    const bool hasData = pose && pose->hasFingerTrackingData();
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        for (int finger = 0; finger < ZtFingerSegmentsPerHand; ++finger) {
            const BkeSegmentPose record = hasData ? pose->fingerTrackingData(static_cast<ZtHandId>(hand), finger)
                                                  : defaultFingerRecord();
            const int index = segmentCount + ZtFingerSegmentsPerHand * hand + finger;
            if (id == SheetId::SegmentOriQuat)
                m_cells.writeQuat(file, row, index, record.q);
            else if (id == SheetId::SegmentOriEuler)
                m_cells.writeVec(file, row, index, eulerAngles(record.q));
            else
                m_cells.writeVec(file, row, index, record.pos);
        }
    }
}

void ExcelExporter::writeFingerJoints(SheetId id, const ConcreteTaviPose* pose, int jointCount, int row)
{
    if (!m_hasFingerTracking || !pose)
        return;
    xlsx::SheetStream& file = sheet(id);
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        for (int joint = 0; joint < ZtFingerJointsPerHand; ++joint) {
            const auto handId = static_cast<ZtHandId>(hand);
            const ZtVector angles = id == SheetId::JointAngles ? pose->fingerTrackingJointAngles(handId, joint)
                                                               : pose->fingerTrackingJointAnglesXzy(handId, joint);
            m_cells.writeVec(file, row, jointCount + ZtFingerJointsPerHand * hand + joint, angles);
        }
    }
}

void ExcelExporter::writeExternalRows(int frame, int frameOrdinal)
{
    xlsx::SheetStream& file = sheet(SheetId::ExternalData);
    const int samplesPerFrame = m_emgCollector.samplesPerFrame();
    const int channels = m_emgCollector.channelCount();
    const QList<ZtVector>& data = m_emgCollector.resampled();
    const auto firstSample = static_cast<std::size_t>(samplesPerFrame) * static_cast<std::size_t>(frameOrdinal);

    for (int sample = 0; sample < samplesPerFrame; ++sample) {
        const int externalRow = file.nextRow(m_cells, m_nextSheetNumber);
        m_cells.newRow(file, externalRow, channels + 2, true);
        m_cells.writeInt(file, externalRow, 1, frame);
        // The sample number counts on across continuation sheets.
        m_cells.writeInt(file, externalRow, 2, m_nextSample++);
        for (int channel = 0; channel < channels; ++channel) {
            const ZtVector& values = data[channel];
            const std::size_t n = firstSample + static_cast<std::size_t>(sample);
            // A channel without data, or a frame past the collected ones, has no value.
            if (n < values.size())
                m_cells.writeNumber(file, externalRow, channel + 3, values[n]);
        }
    }
}
