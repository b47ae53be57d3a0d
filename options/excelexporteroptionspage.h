#pragma once

#include "abstractoptionspage.h"

#include <QMap>
#include <QString>

#include <optional>

class AbstractSettingsSynchronizer;
class QCheckBox;
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
    // Writes "frameSkip", then every check box state in ascending key order; writes nothing
    // before createPage().
    void apply() override;

private:
    QCheckBox* addSheetCheckBox(QWidget* page, QGridLayout* grid, const char* key, const char* title,
        int row, int column);

    // What apply() writes, kept up to date by the controls of the latest page, so that the
    // page never refers to widgets the host may have deleted.
    struct Choices
    {
        std::optional<int> frameSkip;    // the combo box's current index; none before createPage
        QMap<QString, bool> checkStates; // settings key -> state of its check box
    };

    AbstractSettingsSynchronizer* m_settings;
    Choices m_choices;
    // Counts the pages built; controls of an earlier page no longer change m_choices.
    int m_latestPage = 0;
};
