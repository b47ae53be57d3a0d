#include "optionsdialog.h"

#include "abstractoptionspage.h"
#include "abstractplugin.h"
#include "settingsstore.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <cstdio>
#include <memory>

int runOptionsDialog(AbstractExporterFactory& factory, const IniSettingsSynchronizer& settings)
{
    // The host owns the page; it goes after the dialog and long before the factory.
    const std::unique_ptr<AbstractOptionsPage> page(factory.optionsPage());
    if (!page) {
        std::fputs("tavi-export: the plug-in has no options page\n", stderr);
        return 1;
    }

    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("%1 - %2").arg(page->trCategory(), page->trName()));
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(page->createPage(&dialog));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Apply | QDialogButtonBox::Cancel,
        &dialog);
    layout->addWidget(buttons);

    bool writeFailed = false;
    const auto apply = [&] {
        page->apply();
        writeFailed = writeFailed || settings.status() != QSettings::NoError;
    };
    QObject::connect(buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, &dialog, apply);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        apply();
        dialog.accept();
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    dialog.exec();

    if (writeFailed) {
        std::fprintf(stderr, "tavi-export: could not write the settings file %s\n",
            qPrintable(settings.fileName()));
        return 1;
    }
    return 0;
}
