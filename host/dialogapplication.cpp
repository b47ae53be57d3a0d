#include "dialogapplication.h"

#include "commandline.h"

#include <QDebug>
#include <QLibraryInfo>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

// Qt reports a window system it cannot reach with a few warnings and then a fatal message,
// which aborts. While the application is created, the warnings are kept and the fatal
// message ends the process with our own explanation.
QStringList platformWarnings;

QString missingDisplayReason()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return QStringLiteral("neither DISPLAY nor WAYLAND_DISPLAY is set");
    return platformWarnings.isEmpty() ? QStringLiteral("the window system did not answer")
                                      : platformWarnings.first().trimmed();
}

void handlePlatformMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtFatalMsg) {
        platformWarnings << message;
        return;
    }
    std::fprintf(stderr,
        "tavi-export: --options shows a dialog and needs a display, but none could be opened (%s).\n"
        "Run it in a desktop session; exports need no display.\n",
        qPrintable(missingDisplayReason()));
    std::fflush(nullptr);
    std::_Exit(ExitUsageError);
}

} // namespace

std::unique_ptr<QApplication> createDialogApplication(int& argc, char** argv)
{
    const QtMessageHandler previous = qInstallMessageHandler(handlePlatformMessage);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(previous);
    // The window system answered: what Qt said on the way is passed on as usual.
    for (const QString& warning : std::exchange(platformWarnings, {}))
        qWarning().noquote() << warning;
    return application;
}

std::unique_ptr<QTranslator> installQtTranslations(const QLocale& locale)
{
    auto translator = std::make_unique<QTranslator>();
    // qtbase_de.qm and the like, in the folder where Qt keeps its translations.
    if (!translator->load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
            QLibraryInfo::path(QLibraryInfo::TranslationsPath))
        || !QCoreApplication::installTranslator(translator.get()))
        return nullptr;
    return translator;
}
