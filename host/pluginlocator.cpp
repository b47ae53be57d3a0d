#include "pluginlocator.h"

#include "abstractplugin.h"
#include "pluginidentity.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLocale>

namespace {

const QString PluginFileName = QStringLiteral(TAVI_PLUGIN_FILE_NAME);
const QString ExporterIid = QStringLiteral(EXCEL_EXPORTER_IID);

} // namespace

QStringList defaultPluginCandidates(const QString& programDir)
{
    const QDir dir(programDir);
    const QStringList places = {
        QStringLiteral("."),
        QStringLiteral("../plugins"),
        QStringLiteral("../" TAVI_INSTALLED_PLUGIN_DIR),
    };
    QStringList candidates;
    for (const QString& place : places)
        candidates << QDir::cleanPath(dir.filePath(place + u'/' + PluginFileName));
    return candidates;
}

QString locateDefaultPlugin(const QString& programDir)
{
    for (const QString& candidate : defaultPluginCandidates(programDir)) {
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return QString();
}

std::variant<std::unique_ptr<ExporterPlugin>, QString> ExporterPlugin::load(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return QStringLiteral("cannot load the plug-in %1: no such file").arg(path);
    if (!file.isFile())
        return QStringLiteral("cannot load the plug-in %1: not a file").arg(path);

    // An absolute name keeps the loader from searching its library paths instead.
    std::unique_ptr<ExporterPlugin> plugin(new ExporterPlugin(file.absoluteFilePath()));
    QPluginLoader& loader = plugin->m_loader;

    // The metadata is read without running any of the library's code.
    const QJsonObject metaData = loader.metaData();
    if (metaData.isEmpty())
        return QStringLiteral("cannot load the plug-in %1: %2").arg(path, loader.errorString());
    const QString iid = metaData.value(QStringLiteral("IID")).toString();
    if (iid != ExporterIid) {
        return QStringLiteral("cannot load the plug-in %1: its IID is \"%2\", not \"%3\"")
            .arg(path, iid, ExporterIid);
    }

    QObject* instance = loader.instance();
    if (!instance)
        return QStringLiteral("cannot load the plug-in %1: %2").arg(path, loader.errorString());
    plugin->m_factory = qobject_cast<AbstractExporterFactory*>(instance);
    if (!plugin->m_factory) {
        return QStringLiteral("cannot load the plug-in %1: it does not implement the exporter factory interface %2")
            .arg(path, QStringLiteral(AbstractExporterFactory_iid));
    }
    return plugin;
}

ExporterPlugin::~ExporterPlugin()
{
    if (m_translator) {
        QCoreApplication::removeTranslator(m_translator.get());
        m_translator.reset();
    }
    // Deletes the factory (and with it the settings store), then unloads the library.
    if (m_factory)
        m_loader.unload();
}

bool ExporterPlugin::installTranslator(const QLocale& locale)
{
    auto translator = std::make_unique<QTranslator>();
    // Tries excelexporter_de_DE.qm, then excelexporter_de.qm and so on for each UI language.
    if (!translator->load(locale, QStringLiteral("excelexporter"), QStringLiteral("_"), QStringLiteral(":/i18n")))
        return false;
    if (!QCoreApplication::installTranslator(translator.get()))
        return false;
    if (m_translator)
        QCoreApplication::removeTranslator(m_translator.get());
    m_translator = std::move(translator);
    return true;
}
