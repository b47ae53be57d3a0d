#pragma once

#include "abstractplugin.h"
#include "taviSdkGlobal.h"

#include <QObject>
#include <QString>

class QWidget;

// A page of the host's options dialog. The host shows the widget of createPage() and calls
// apply() when the user accepts.
class TAVISDK_EXPORT AbstractOptionsPage : public QObject
{
    Q_OBJECT

public:
    explicit AbstractOptionsPage(QObject* parent = nullptr);
    ~AbstractOptionsPage() override;

    virtual QString name() const = 0;
    virtual QString trName() const = 0;
    virtual QString category() const = 0;
    virtual QString trCategory() const = 0;
    virtual QString factoryName() const = 0;
    virtual bool showSaveCloseButtons() const { return true; }
    virtual QWidget* createPage(QWidget* parent) = 0;

public slots:
    virtual void apply() = 0;

signals:
    void itemChanged();
    void optionsSaved();
    void suffixChanged();
};

Q_DECLARE_INTERFACE(AbstractOptionsPage, AbstractOptionsPage_iid)
