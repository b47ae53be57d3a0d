// Out-of-line destructors give the SDK's polymorphic classes one home for their vtables.
#include "abstractoptionspage.h"
#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"

AbstractSettingsSynchronizer::~AbstractSettingsSynchronizer() = default;
AbstractTaviStudioPluginInterface::~AbstractTaviStudioPluginInterface() = default;
AbstractPlugin::~AbstractPlugin() = default;
AbstractExporter::~AbstractExporter() = default;
AbstractPluginFactory::~AbstractPluginFactory() = default;
AbstractExporterFactory::~AbstractExporterFactory() = default;

AbstractOptionsPage::AbstractOptionsPage(QObject* parent)
    : QObject(parent)
{ }
AbstractOptionsPage::~AbstractOptionsPage() = default;
