#pragma once

// Widget tests need one QApplication for the whole test program (gtest_main makes none), on
// the offscreen platform unless the environment chose another. Include from one source file
// of the test program.

#include <QApplication>
#include <QString>
#include <QVariant>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

// Readable values in failure messages.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QVariant& value, std::ostream* out)
{
    *out << value.typeName() << '(' << value.toString().toStdString() << ')';
}

class WidgetApplicationEnvironment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        m_app = std::make_unique<QApplication>(m_argc, m_argv);
    }
    void TearDown() override { m_app.reset(); }

private:
    int m_argc = 1;
    char m_name[10] = "tavi-test";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QApplication> m_app;
};

inline const auto* const widgetApplicationEnvironment = ::testing::AddGlobalTestEnvironment(new WidgetApplicationEnvironment);
