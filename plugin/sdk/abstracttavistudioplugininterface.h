#pragma once

#include "abstractsettingssynchronizer.h"
#include "taviPose.h"
#include "taviSdkGlobal.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class QObject;

// The host's view of the open recording and of its services. Operations with a body are the
// SDK's inline defaults, answered when a host leaves them unimplemented.
class TAVISDK_EXPORT AbstractTaviStudioPluginInterface
{
public:
    using ChannelInfo = QMap<QString, QString>;

    virtual ~AbstractTaviStudioPluginInterface();

    virtual int frameCount() const { return 0; }
    virtual int firstFrame() const { return 0; }
    virtual int lastFrame() const { return 0; }
    virtual double frameRate() const { return 0.0; }
    virtual TaviPoseObject tPose() const { return TaviPoseObject(); }
    virtual QString filename() const { return QString(); }
    virtual QString subjectName() const { return QString(); }
    virtual QString processingQuality() const { return QString(); }
    virtual QString markerText(int /*frame*/) const { return QString(); }
    virtual void logUsageEvent(QString /*event*/) { }
    virtual QString fingerTrackingSegmentName(ZtHandId /*hand*/, int /*segment*/) const { return QString(); }
    virtual ZtArray<BkeJointInfo> fingerTrackingJointInfoList(ZtHandId /*hand*/) const { return {}; }
    virtual QStringList externalChannelNames() const { return QStringList(); }
    virtual std::unique_ptr<ChannelInfo> externalChannelInfo(int /*channel*/) const { return nullptr; }
    virtual QList<ExternalData> externalData(int /*index*/) const { return {}; }
    virtual int externalDataCount() const { return 0; }
    virtual QDateTime recordStartTime() const { return QDateTime::currentDateTime(); }

    // The pose of a frame; null when the host has none. The caller owns the handle.
    virtual std::unique_ptr<TaviPoseObject> pose(int frame) const = 0;
    virtual QString applicationVersion() const = 0;
    // Registers a plug-in's settings keys with their defaults and descriptions and returns the
    // store through which they are read and written; the caller owns it. A key never set
    // reads back as its registered default.
    virtual AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>& defaults,
        const QMap<QString, QString>& descriptions,
        QObject* owner)
        = 0;
};
