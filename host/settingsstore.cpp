#include "settingsstore.h"

#include <QRegularExpression>

MemorySettingsSynchronizer::MemorySettingsSynchronizer(QMap<QString, QVariant> defaults,
                                                       QMap<QString, QString> descriptions)
    : m_defaults(std::move(defaults)), m_descriptions(std::move(descriptions))
{
}

QVariant MemorySettingsSynchronizer::value(const QString& key) const
{
    m_requestedKeys.append(key);
    const auto stored = m_values.constFind(key);
    return stored != m_values.cend() ? *stored : m_defaults.value(key);
}

void MemorySettingsSynchronizer::setValue(const QString& key, const QVariant& value)
{
    m_values.insert(key, value);
}

std::variant<SettingOverride, QString> parseSettingOverride(const QString& text,
                                                            const QMap<QString, QVariant>& defaults)
{
    const qsizetype equals = text.indexOf(u'=');
    if (equals <= 0)
        return QStringLiteral("\"%1\" is not of the form KEY=VALUE").arg(text);
    const QString key = text.left(equals);
    const QString value = text.mid(equals + 1);
    const auto registered = defaults.constFind(key);
    if (registered == defaults.cend()) {
        return QStringLiteral("unknown setting \"%1\"; the settings are: %2")
            .arg(key, QStringList(defaults.keys()).join(QStringLiteral(", ")));
    }

    switch (registered->typeId()) {
    case QMetaType::Int: {
        static const QRegularExpression integerPattern(QStringLiteral("^-?[0-9]+$"));
        bool ok = false;
        const int number = integerPattern.match(value).hasMatch() ? value.toInt(&ok) : 0;
        if (!ok)
            return QStringLiteral("setting %1 takes an integer, not \"%2\"").arg(key, value);
        return SettingOverride{key, QVariant(number)};
    }
    case QMetaType::Bool:
        if (value == u"true" || value == u"false")
            return SettingOverride{key, QVariant(value == u"true")};
        return QStringLiteral("setting %1 takes true or false, not \"%2\"").arg(key, value);
    default:
        return QStringLiteral("setting %1 cannot be given on the command line").arg(key);
    }
}

IniSettingsSynchronizer::IniSettingsSynchronizer(const QString& fileName, QMap<QString, QVariant> defaults,
                                                 QMap<QString, QString> descriptions)
    : m_settings(fileName, QSettings::IniFormat),
      m_defaults(std::move(defaults)),
      m_descriptions(std::move(descriptions))
{
}

QVariant IniSettingsSynchronizer::value(const QString& key) const
{
    const auto overridden = m_overrides.constFind(key);
    if (overridden != m_overrides.cend())
        return *overridden;

    const QVariant registered = m_defaults.value(key);
    if (!m_settings.contains(key))
        return registered;
    QVariant stored = m_settings.value(key);
    if (registered.isValid() && stored.metaType() != registered.metaType()) {
        // A text that does not convert gives the type's null value (0, false), as a plug-in
        // reading an unconvertible value would get anyway.
        stored.convert(registered.metaType());
    }
    return stored;
}

void IniSettingsSynchronizer::setValue(const QString& key, const QVariant& value)
{
    m_overrides.remove(key);
    m_settings.setValue(key, value);
    m_settings.sync();
}

void IniSettingsSynchronizer::setOverride(const SettingOverride& setting)
{
    m_overrides.insert(setting.key, setting.value);
}
