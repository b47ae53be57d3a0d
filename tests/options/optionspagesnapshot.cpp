// Renders the options page as a fresh installation shows it and saves it as a PNG, for the
// documentation: optionspagesnapshot <output.png>

#include "excelexporteroptionspage.h"

#include "exportsettings.h"

#include "fakesettings.h"

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QStyleFactory>
#include <QTextStream>
#include <QWidget>

#include <memory>

int main(int argc, char* argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "usage: optionspagesnapshot <output.png>\n";
        return 2;
    }
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

    // The values a fresh installation registers: every frame, every worksheet.
    FakeSettings settings(exportSettingDefaults());
    ExcelExporterOptionsPage page(&settings, nullptr);
    std::unique_ptr<QWidget> widget(page.createPage(nullptr));
    widget->resize(widget->sizeHint().expandedTo(QSize(560, 0)));
    widget->show();
    QApplication::processEvents();

    if (!widget->grab().save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        QTextStream(stderr) << "could not write " << argv[1] << '\n';
        return 1;
    }
    return 0;
}
