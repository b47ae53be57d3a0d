#pragma once

#include "abstractplugin.h"
#include "pluginidentity.h"

#include <QObject>
#include <QString>

#include <memory>

// The plug-in's entry object: the host's loader creates one, asks it for names, version and
// the options page, and has it create one ExcelExporter per export. It owns the settings
// store that exporters and options pages borrow, so the host destroys those first.
class ExcelExporterFactory : public QObject, public AbstractExporterFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID EXCEL_EXPORTER_IID)
    Q_INTERFACES(AbstractExporterFactory AbstractPluginFactory)

public:
    ExcelExporterFactory() = default;
    ~ExcelExporterFactory() override;

    // Registers the export settings with the host and keeps the store it returns.
    void initializePlugin(AbstractTaviStudioPluginInterface& host) override;
    QString orgName() const override;
    QString trName() const override;
    int type() const override;
    QString version() const override;
    // A new page on every call, owned by the caller.
    AbstractOptionsPage* optionsPage() override;
    AbstractSettingsSynchronizer* settingsSynchronizer() const override;

    QString extension() const override;
    std::unique_ptr<AbstractExporter> doCreate(AbstractTaviStudioPluginInterface& host) const override;

private:
    AbstractSettingsSynchronizer* m_settings = nullptr;
};
