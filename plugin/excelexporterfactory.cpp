#include "excelexporterfactory.h"

#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"
#include "excelexporter.h"
#include "excelexporteroptionspage.h"
#include "exportsettings.h"
#include "zttypes.h"

namespace {

ZtVersion releaseVersion()
{
    return ZtVersion{release::Major, release::Minor, release::Revision, release::Build, release::RepositoryVersion,
        release::Note};
}

} // namespace

ExcelExporterFactory::~ExcelExporterFactory()
{
    delete m_settings;
}

void ExcelExporterFactory::initializePlugin(AbstractTaviStudioPluginInterface& host)
{
    // The host initialises a plug-in once. A repeated call would replace the store without
    // deleting the earlier one, which exporters and pages may still hold.
    m_settings = host.createSettingsSynchronizer(exportSettingDefaults(), exportSettingDescriptions(), this);
}

QString ExcelExporterFactory::orgName() const
{
    return QStringLiteral("Excel Exporter");
}

QString ExcelExporterFactory::trName() const
{
    // Context "QObject", which is where existing translation files keep this text.
    return QObject::tr("Excel Exporter");
}

int ExcelExporterFactory::type() const
{
    return 1;
}

QString ExcelExporterFactory::version() const
{
    const ZtString text = ZtVersion_toString(releaseVersion());
    if (ZtString_empty(&text))
        return QString();
    return QString::fromUtf8(text.text.data(), static_cast<qsizetype>(text.text.size()));
}

AbstractOptionsPage* ExcelExporterFactory::optionsPage()
{
    return new ExcelExporterOptionsPage(settingsSynchronizer(), nullptr);
}

AbstractSettingsSynchronizer* ExcelExporterFactory::settingsSynchronizer() const
{
    return m_settings;
}

QString ExcelExporterFactory::extension() const
{
    return QStringLiteral("xlsx");
}

std::unique_ptr<AbstractExporter> ExcelExporterFactory::doCreate(AbstractTaviStudioPluginInterface& host) const
{
    return std::make_unique<ExcelExporter>(host, settingsSynchronizer());
}
