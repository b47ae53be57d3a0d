#pragma once

#include "taviSdkGlobal.h"

#include <QString>
#include <QtPlugin>

#include <memory>

class AbstractOptionsPage;
class AbstractSettingsSynchronizer;
class AbstractTaviStudioPluginInterface;

#define TAVI_IID_PREFIX "com.vantor.tavi.sdk"
#define AbstractExporterFactory_iid TAVI_IID_PREFIX ".plugin.exporter/1.0"
#define AbstractPluginFactory_iid TAVI_IID_PREFIX ".pluginfactory/1.0"
#define AbstractOptionsPage_iid TAVI_IID_PREFIX ".optionspage/1.0"

class TAVISDK_EXPORT AbstractPlugin
{
public:
    virtual ~AbstractPlugin();
};

// One export session, driven by the host: initialize, exportFrame per frame, finalize.
class TAVISDK_EXPORT AbstractExporter : public AbstractPlugin
{
public:
    ~AbstractExporter() override;
    virtual bool initialize(const QString& fileName) = 0;
    virtual bool exportFrame(int frame) = 0;
    virtual bool finalize(bool abort) = 0;
    virtual QString lastError() const = 0;
};

class TAVISDK_EXPORT AbstractPluginFactory
{
public:
    enum HardwareStatus { HardwareDisconnected = 0,
        HardwareConnected = 1,
        HardwareRecording = 2 };

    virtual ~AbstractPluginFactory();
    virtual void initializePlugin(AbstractTaviStudioPluginInterface& host) = 0;
    virtual bool canInitializePlugin(AbstractTaviStudioPluginInterface& /*host*/) const { return true; }
    virtual void startPlugin(AbstractTaviStudioPluginInterface& host) = 0;
    virtual void stopPlugin() = 0;
    virtual QString orgName() const = 0;
    virtual QString trName() const = 0;
    virtual int type() const = 0;
    virtual QString version() const = 0;
    virtual AbstractOptionsPage* optionsPage() = 0;
    virtual AbstractSettingsSynchronizer* settingsSynchronizer() const = 0;
    virtual QString menuEntry() const { return QString(); }
    virtual void onHardwareStatusChanged(AbstractPluginFactory::HardwareStatus /*status*/) { }
    virtual void onRecordingStarted() { }
    virtual void onRecordingStopped() { }
};

class TAVISDK_EXPORT AbstractExporterFactory : public AbstractPluginFactory
{
public:
    ~AbstractExporterFactory() override;
    void startPlugin(AbstractTaviStudioPluginInterface& /*host*/) override { }
    void stopPlugin() override { }

    virtual QString extension() const = 0;
    virtual bool supportsBatchExporting() const { return true; }
    virtual bool supportsParallelExporting() const { return true; }
    virtual bool supportsObjectExporting() const { return false; }
    virtual bool supportsMultipleExports() const { return true; }
    virtual std::unique_ptr<AbstractExporter> doCreate(AbstractTaviStudioPluginInterface& host) const = 0;
};

Q_DECLARE_INTERFACE(AbstractPluginFactory, AbstractPluginFactory_iid)
Q_DECLARE_INTERFACE(AbstractExporterFactory, AbstractExporterFactory_iid)
