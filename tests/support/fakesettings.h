#pragma once

// The settings store tests hand to the code under test: answers from a map (an invalid
// QVariant for a key it lacks) and logs every key asked and every write, in order.

#include "abstractsettingssynchronizer.h"

#include <QMap>
#include <QStringList>
#include <QVariant>

#include <utility>
#include <vector>

class FakeSettings : public AbstractSettingsSynchronizer
{
public:
    using Writes = std::vector<std::pair<QString, QVariant>>;

    explicit FakeSettings(QMap<QString, QVariant> initial = {})
        : values(std::move(initial))
    { }

    QVariant value(const QString& key) const override
    {
        asked << key;
        return values.value(key);
    }
    void setValue(const QString& key, const QVariant& value) override
    {
        values.insert(key, value);
        writes.emplace_back(key, value);
    }

    QMap<QString, QVariant> values;
    mutable QStringList asked;
    Writes writes;
};
