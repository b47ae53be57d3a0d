#pragma once

#include "taviSdkGlobal.h"

#include <QString>
#include <QVariant>

// Stores one plug-in's settings under string keys. Created by the host, owned by the
// plug-in's factory; exporters and options pages borrow it.
class TAVISDK_EXPORT AbstractSettingsSynchronizer
{
public:
    virtual ~AbstractSettingsSynchronizer();
    virtual QVariant value(const QString& key) const = 0;
    virtual void setValue(const QString& key, const QVariant& value) = 0;
};
