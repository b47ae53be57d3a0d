#include "settingsstore.h"

#include "messagetext.h"

#include <QRegularExpression>

MemorySettingsSynchronizer::MemorySettingsSynchronizer(QMap<QString, QVariant> defaults,
    QMap<QString, QString> descriptions)
    : m_defaults(std::move(defaults))
    , m_descriptions(std::move(descriptions))
{
}

QVariant MemorySettingsSynchronizer::value(const QString& key) const
{
    const auto stored = m_values.constFind(key);
    return stored != m_values.cend() ? *stored : m_defaults.value(key);
}

void MemorySettingsSynchronizer::setValue(const QString& key, const QVariant& value)
{
    m_values.insert(key, value);
}

namespace {

// The registered default's type decides how a text reads: an integer in the allowed range, or
// "true" / "false". Answers an invalid QVariant for a text that does not fit.
QVariant settingFromText(const QString& text, const QVariant& registered, int leastInteger)
{
    switch (registered.typeId()) {
    case QMetaType::Int: {
        static const QRegularExpression integerPattern(QStringLiteral("^-?[0-9]+$"));
        bool ok = false;
        const int number = integerPattern.match(text).hasMatch() ? text.toInt(&ok) : 0;
        if (!ok || number < leastInteger || number > MostIntegerSetting)
            return QVariant();
        return QVariant(number);
    }
    case QMetaType::Bool:
        if (text == u"true" || text == u"false")
            return QVariant(text == u"true");
        return QVariant();
    default:
        return QVariant();
    }
}

// What a setting of the registered default's type takes, for messages.
QString allowedValues(const QVariant& registered)
{
    if (registered.typeId() == QMetaType::Int)
        return QStringLiteral("an integer from 0 to %1").arg(MostIntegerSetting);
    return QStringLiteral("true or false");
}

} // namespace

std::variant<SettingOverride, QString> parseSettingOverride(const QString& text,
    const QMap<QString, QVariant>& defaults)
{
    const qsizetype equals = text.indexOf(u'=');
    if (equals <= 0)
        return QStringLiteral("%1 is not of the form KEY=VALUE").arg(quoted(text));
    const QString key = text.left(equals);
    const QString value = text.mid(equals + 1);
    const auto registered = defaults.constFind(key);
    if (registered == defaults.cend()) {
        return QStringLiteral("unknown setting %1; the settings are: %2")
            .arg(quoted(key), QStringList(defaults.keys()).join(QStringLiteral(", ")));
    }
    if (registered->typeId() != QMetaType::Int && registered->typeId() != QMetaType::Bool)
        return QStringLiteral("setting %1 cannot be given on the command line").arg(key);
    const QVariant parsed = settingFromText(value, *registered, 0);
    if (!parsed.isValid())
        return QStringLiteral("setting %1 takes %2, not %3").arg(key, allowedValues(*registered), quoted(value));
    return SettingOverride{key, parsed};
}

IniSettingsSynchronizer::IniSettingsSynchronizer(const QString& fileName, QMap<QString, QVariant> defaults,
    QMap<QString, QString> descriptions)
    : m_settings(fileName, QSettings::IniFormat)
    , m_defaults(std::move(defaults))
    , m_descriptions(std::move(descriptions))
{
    for (auto registered = m_defaults.cbegin(); registered != m_defaults.cend(); ++registered) {
        const QString& key = registered.key();
        if (!m_settings.contains(key))
            continue;
        const QString text = m_settings.value(key).toString();
        // The options page stores -1 for "no frame skip chosen"; the exporter reads it as 0.
        const QVariant value = settingFromText(text, *registered, -1);
        if (value.isValid()) {
            m_stored.insert(key, value);
            continue;
        }
        m_malformed << QStringLiteral("settings file %1: %2 is %3, not %4; the default %5 is used instead")
                           .arg(quoted(m_settings.fileName()), key, quoted(text), allowedValues(*registered), registered->toString());
    }
}

QVariant IniSettingsSynchronizer::value(const QString& key) const
{
    const QMutexLocker lock(&m_mutex);
    const auto overridden = m_overrides.constFind(key);
    if (overridden != m_overrides.cend())
        return *overridden;
    const auto stored = m_stored.constFind(key);
    return stored != m_stored.cend() ? *stored : m_defaults.value(key);
}

void IniSettingsSynchronizer::setValue(const QString& key, const QVariant& value)
{
    const QMutexLocker lock(&m_mutex);
    m_overrides.remove(key);
    m_stored.insert(key, value);
    m_settings.setValue(key, value);
    m_settings.sync();
}

void IniSettingsSynchronizer::setOverride(const SettingOverride& setting)
{
    const QMutexLocker lock(&m_mutex);
    m_overrides.insert(setting.key, setting.value);
}

IniSettingsSynchronizer::Source IniSettingsSynchronizer::sourceOf(const QString& key) const
{
    const QMutexLocker lock(&m_mutex);
    if (m_overrides.contains(key))
        return Source::Override;
    return m_stored.contains(key) ? Source::File : Source::Default;
}

QStringList IniSettingsSynchronizer::malformedValues() const
{
    const QMutexLocker lock(&m_mutex);
    return m_malformed;
}
