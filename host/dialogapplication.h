#pragma once

// What the options dialog needs from the process: a window system, and Qt's own
// translations so that the dialog's standard buttons speak the user's language.

#include <QApplication>
#include <QLocale>
#include <QTranslator>

#include <memory>

// The widget application for the dialog. When no window system can be reached (no display
// set, or one that does not answer), says so on standard error and ends the process with
// exit status 2, instead of Qt's abort with advice to reinstall.
std::unique_ptr<QApplication> createDialogApplication(int& argc, char** argv);

// Loads and installs Qt's translations (OK, Cancel, Apply, ...) for `locale`; they stay
// installed while the answer lives. Null when Qt has none for that language.
std::unique_ptr<QTranslator> installQtTranslations(const QLocale& locale);
