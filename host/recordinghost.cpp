#include "recordinghost.h"

#include "settingsstore.h"

using Base = AbstractTaviStudioPluginInterface;

RecordingHost::RecordingHost(Recording recording, SettingsFactory settingsFactory)
    : m_rec(std::move(recording))
    , m_settingsFactory(std::move(settingsFactory))
{
    // The exporter asks for every frame's marker text, so the texts are indexed once here.
    for (const RecordingMarker& marker : std::as_const(m_rec.markers)) {
        QString& text = m_markerTexts[marker.frame];
        if (!text.isEmpty() && !marker.text.isEmpty())
            text += QStringLiteral("; ");
        text += marker.text;
    }

    if (m_rec.tPoseSegmentCount) {
        TaviPose pose;
        pose.segments.resize(static_cast<std::size_t>(*m_rec.tPoseSegmentCount));
        m_tPose = std::make_shared<const ConcreteTaviPose>(std::move(pose));
    }

    for (const RecordingChannel& channel : std::as_const(m_rec.externalChannels))
        m_channelNames.append(channel.name);
}

int RecordingHost::frameCount() const
{
    return m_rec.effectiveFrameCount().value_or(Base::frameCount());
}

int RecordingHost::firstFrame() const
{
    return m_rec.effectiveFirstFrame().value_or(Base::firstFrame());
}

int RecordingHost::lastFrame() const
{
    return m_rec.effectiveLastFrame().value_or(Base::lastFrame());
}

double RecordingHost::frameRate() const
{
    return m_rec.frameRate.value_or(Base::frameRate());
}

TaviPoseObject RecordingHost::tPose() const
{
    return m_tPose ? TaviPoseObject(m_tPose) : Base::tPose();
}

QString RecordingHost::filename() const
{
    return m_rec.filename.value_or(Base::filename());
}

QString RecordingHost::subjectName() const
{
    return m_rec.subjectName.value_or(Base::subjectName());
}

QString RecordingHost::processingQuality() const
{
    return m_rec.processingQuality.value_or(Base::processingQuality());
}

QString RecordingHost::markerText(int frame) const
{
    const auto found = m_markerTexts.constFind(frame);
    return found != m_markerTexts.cend() ? *found : Base::markerText(frame);
}

void RecordingHost::logUsageEvent(QString event)
{
    m_usageEvents.append(std::move(event));
}

QString RecordingHost::fingerTrackingSegmentName(ZtHandId hand, int segment) const
{
    if (!m_rec.fingerTracking || hand < 0 || hand >= ZtHandCount)
        return Base::fingerTrackingSegmentName(hand, segment);
    const QStringList& names = m_rec.fingerTracking->segmentNames[hand];
    return segment >= 0 && segment < names.size() ? names[segment] : QString();
}

ZtArray<BkeJointInfo> RecordingHost::fingerTrackingJointInfoList(ZtHandId hand) const
{
    if (!m_rec.fingerTracking || hand < 0 || hand >= ZtHandCount)
        return Base::fingerTrackingJointInfoList(hand);
    ZtArray<BkeJointInfo> joints;
    for (const QString& name : m_rec.fingerTracking->jointNames[hand]) {
        BkeJointInfo joint;
        joint.name.text = name.toStdString();
        joints.append(std::move(joint));
    }
    return joints;
}

QStringList RecordingHost::externalChannelNames() const
{
    return m_rec.externalChannels.isEmpty() ? Base::externalChannelNames() : m_channelNames;
}

std::unique_ptr<RecordingHost::ChannelInfo> RecordingHost::externalChannelInfo(int channel) const
{
    if (channel < 0 || channel >= m_rec.externalChannels.size() || !m_rec.externalChannels[channel].info)
        return Base::externalChannelInfo(channel);
    return std::make_unique<ChannelInfo>(*m_rec.externalChannels[channel].info);
}

QList<ExternalData> RecordingHost::externalData(int frame) const
{
    const RecordingFrame* recorded = m_rec.frame(frame);
    return recorded ? recorded->externalData : Base::externalData(frame);
}

int RecordingHost::externalDataCount() const
{
    return m_rec.externalDataCount.value_or(Base::externalDataCount());
}

QDateTime RecordingHost::recordStartTime() const
{
    return m_rec.recordStartTime.value_or(Base::recordStartTime());
}

std::unique_ptr<TaviPoseObject> RecordingHost::pose(int frame) const
{
    const RecordingFrame* recorded = m_rec.frame(frame);
    if (!recorded || !recorded->pose)
        return nullptr;
    return std::make_unique<TaviPoseObject>(recorded->pose);
}

QString RecordingHost::applicationVersion() const
{
    return m_rec.applicationVersion.value_or(QString());
}

AbstractSettingsSynchronizer* RecordingHost::createSettingsSynchronizer(const QMap<QString, QVariant>& defaults,
    const QMap<QString, QString>& descriptions,
    QObject* /*owner*/)
{
    // The caller owns the store; the owner object only names who registered the keys.
    if (m_settingsFactory)
        return m_settingsFactory(defaults, descriptions).release();
    return new MemorySettingsSynchronizer(defaults, descriptions);
}
