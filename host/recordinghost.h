#pragma once

// The substitute host: serves one Recording to a plug-in through the SDK's host interface.
// Every operation answers from the recording; an operation whose field the recording leaves
// unset answers with the SDK's default (the base-class implementation).
//
// Generated recordings. The recording model may carry only the scalar fields while a subclass
// produces each frame on demand:
//
//     class GeneratedHost : public RecordingHost {
//     public:
//         using RecordingHost::RecordingHost;
//         std::unique_ptr<TaviPoseObject> pose(int frame) const override;   // computed now
//         QList<ExternalData> externalData(int frame) const override;       // computed now
//         QString markerText(int frame) const override;                     // optional
//     };
//
// The subclass (or the recording's explicit fields) gives the frame range and count, so memory
// does not grow with the number of frames.

#include "recording.h"

#include "abstracttavistudioplugininterface.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <memory>

class RecordingHost : public AbstractTaviStudioPluginInterface
{
public:
    // Makes the store that createSettingsSynchronizer returns, from the registered defaults
    // and descriptions.
    using SettingsFactory = std::function<std::unique_ptr<AbstractSettingsSynchronizer>(
        const QMap<QString, QVariant>& defaults, const QMap<QString, QString>& descriptions)>;

    // Without a settings factory the host hands out MemorySettingsSynchronizer stores.
    explicit RecordingHost(Recording recording, SettingsFactory settingsFactory = {});

    const Recording& recording() const { return m_rec; }
    // The frame numbers in export order: the host calls exportFrame with each of them.
    const std::vector<int>& frameNumbers() const { return m_rec.frameNumbers(); }

    // The events passed to logUsageEvent, in order.
    const QStringList& usageEvents() const { return m_usageEvents; }

    int frameCount() const override;
    int firstFrame() const override;
    int lastFrame() const override;
    double frameRate() const override;
    TaviPoseObject tPose() const override;
    QString filename() const override;
    QString subjectName() const override;
    QString processingQuality() const override;
    // Several markers on one frame are joined with "; " in file order, so none is lost.
    QString markerText(int frame) const override;
    void logUsageEvent(QString event) override;
    QString fingerTrackingSegmentName(ZtHandId hand, int segment) const override;
    ZtArray<BkeJointInfo> fingerTrackingJointInfoList(ZtHandId hand) const override;
    QStringList externalChannelNames() const override;
    std::unique_ptr<ChannelInfo> externalChannelInfo(int channel) const override;
    // The samples of the frame with this number; empty for an unknown number.
    QList<ExternalData> externalData(int frame) const override;
    int externalDataCount() const override;
    QDateTime recordStartTime() const override;

    // The frame's pose; null for an unknown number or a frame without pose.
    std::unique_ptr<TaviPoseObject> pose(int frame) const override;
    // Empty when the recording names no version.
    QString applicationVersion() const override;
    AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>& defaults,
        const QMap<QString, QString>& descriptions,
        QObject* owner) override;

private:
    Recording m_rec;
    SettingsFactory m_settingsFactory;
    QHash<int, QString> m_markerTexts;
    std::shared_ptr<const ConcreteTaviPose> m_tPose;
    QStringList m_channelNames;
    QStringList m_usageEvents;
};
