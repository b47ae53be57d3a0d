#pragma once

// The settings stores that the substitute host hands to a plug-in through
// createSettingsSynchronizer: one in memory, one kept in an INI file. Both answer a key that
// was never set with the default the plug-in registered for it.

#include "abstractsettingssynchronizer.h"

#include <QMap>
#include <QMutex>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <variant>

// Keeps the values in memory, for a host without a settings file.
class MemorySettingsSynchronizer : public AbstractSettingsSynchronizer
{
public:
    explicit MemorySettingsSynchronizer(QMap<QString, QVariant> defaults,
        QMap<QString, QString> descriptions = {});

    QVariant value(const QString& key) const override;
    void setValue(const QString& key, const QVariant& value) override;

    const QMap<QString, QVariant>& defaults() const { return m_defaults; }
    const QMap<QString, QString>& descriptions() const { return m_descriptions; }

private:
    QMap<QString, QVariant> m_defaults;
    QMap<QString, QString> m_descriptions;
    QMap<QString, QVariant> m_values;
};

// One setting's value for a single run, given on the command line as KEY=VALUE.
struct SettingOverride
{
    QString key;
    QVariant value; // of the type of the key's registered default
};

// The range of integer settings (the frame skip): beyond it no recording has frames to skip.
inline constexpr int MostIntegerSetting = 1000000;

// Parses "KEY=VALUE" against the registered defaults. The key must be registered; the value
// must suit the default's type: an integer from 0 to MostIntegerSetting for an int default,
// "true" or "false" for a bool default; settings of other types cannot be given. Answers the
// override or an error message.
std::variant<SettingOverride, QString> parseSettingOverride(const QString& text,
    const QMap<QString, QVariant>& defaults);

// Keeps the values in an INI file. The file is read once, when the store is made, so that
// exporters running side by side all see the same settings; every setValue is written to the
// file at once. INI files hold text, so a value is converted to the type of the key's
// registered default ("3" becomes the int 3, "true" the bool true); a text that does not
// convert is noted in malformedValues() and the default answers instead. Overrides answer for
// this run only and never reach the file. Safe to use from several threads.
class IniSettingsSynchronizer : public AbstractSettingsSynchronizer
{
public:
    IniSettingsSynchronizer(const QString& fileName, QMap<QString, QVariant> defaults,
        QMap<QString, QString> descriptions = {});

    QVariant value(const QString& key) const override;
    // Writes through to the file; drops an override of the same key, so that the store
    // answers what was written last.
    void setValue(const QString& key, const QVariant& value) override;

    void setOverride(const SettingOverride& setting);

    // Where the value answered for `key` comes from.
    enum class Source { Default,
        File,
        Override };
    Source sourceOf(const QString& key) const;
    // One message per registered key whose text in the file could not be used: the file, the
    // key, the text and the default used instead.
    QStringList malformedValues() const;

    QString fileName() const { return m_settings.fileName(); }
    // The outcome of the last write (QSettings::NoError when the file could be written).
    QSettings::Status status() const { return m_settings.status(); }
    const QMap<QString, QVariant>& defaults() const { return m_defaults; }
    const QMap<QString, QString>& descriptions() const { return m_descriptions; }

private:
    mutable QMutex m_mutex;
    QSettings m_settings;
    QMap<QString, QVariant> m_defaults;
    QMap<QString, QString> m_descriptions;
    QMap<QString, QVariant> m_stored; // the file's usable values of registered keys
    QStringList m_malformed;
    QMap<QString, QVariant> m_overrides;
};
