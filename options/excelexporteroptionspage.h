#pragma once

#include "abstractoptionspage.h"

#include <QMap>
#include <QString>

class AbstractSettingsSynchronizer;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QWidget;

// The exporter's page in the host's options dialog: the frame skip and one check box per
// worksheet. Choices are written to the settings store only when the host calls apply().
class ExcelExporterOptionsPage : public AbstractOptionsPage
{
    Q_OBJECT
    Q_INTERFACES(AbstractOptionsPage)

public:
    // The synchronizer is borrowed; the factory that owns it outlives the page.
    ExcelExporterOptionsPage(AbstractSettingsSynchronizer* settings, QObject* parent);

    QString name() const override;
    QString trName() const override;
    QString category() const override;
    QString trCategory() const override;
    QString factoryName() const override;
    // Builds a fresh page widget; only the latest widget's controls are written by apply().
    QWidget* createPage(QWidget* parent) override;

public slots:
    // Writes "frameSkip", then every check box state in ascending key order. Needs a page
    // built by createPage().
    void apply() override;

private:
    QCheckBox* addSheetCheckBox(QWidget* page, QGridLayout* grid, const char* key, const char* title,
        int row, int column);

    AbstractSettingsSynchronizer* m_settings;
    QComboBox* m_frameSkipComboBox = nullptr;
    QMap<QString, bool> checkStates; // settings key -> state of its check box
};
