#pragma once

// Finds the exporter plug-in library and loads it through Qt's plug-in loader.

#include <QPluginLoader>
#include <QString>
#include <QStringList>
#include <QTranslator>

#include <memory>
#include <variant>

class AbstractExporterFactory;
class QLocale;

// Where the plug-in built with the program lives, in the order searched: next to the
// program, in the build tree (<build>/host/../plugins), and in the installed layout
// (<prefix>/bin/../lib/tavi/plugins).
QStringList defaultPluginCandidates(const QString& programDir);

// The first candidate that exists; empty when there is none.
QString locateDefaultPlugin(const QString& programDir);

// A loaded exporter plug-in. The factory and the plug-in's translations stay valid while the
// object lives; destroying it unloads the library, so every exporter and options page the
// factory made must be gone by then.
class ExporterPlugin
{
public:
    // Loads the library, checks that its IID is the exporter's, and obtains the factory.
    // Answers the plug-in or a message saying why it cannot be used.
    static std::variant<std::unique_ptr<ExporterPlugin>, QString> load(const QString& path);

    ~ExporterPlugin();
    ExporterPlugin(const ExporterPlugin&) = delete;
    ExporterPlugin& operator=(const ExporterPlugin&) = delete;

    AbstractExporterFactory& factory() const { return *m_factory; }
    QString fileName() const { return m_loader.fileName(); }

    // Installs the plug-in's translation catalogue for the locale, if it ships one.
    bool installTranslator(const QLocale& locale);

private:
    explicit ExporterPlugin(const QString& path)
        : m_loader(path)
    { }

    QPluginLoader m_loader;
    AbstractExporterFactory* m_factory = nullptr;
    // The catalogue's data lives in the library's resources, so it goes before the library.
    std::unique_ptr<QTranslator> m_translator;
};
