#include "excelexporteroptionspage.h"

#include "abstractsettingssynchronizer.h"

#include "widgetapplication.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalSpy>
#include <QSpacerItem>
#include <QTranslator>
#include <QWidget>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

namespace {

// Every check box of the page with its title and grid cell, as the page is meant to look.
struct ExpectedBox
{
    const char* key;
    const char* title;
    int row;
    int column;
};
const ExpectedBox expectedBoxes[] = {
    {"generalInfo", "General Information", 1, 0},
    {"markers", "Markers", 1, 1},
    {"segmentOriQuat", "Segment Orientation - Quat", 3, 0},
    {"segmentOriEuler", "Segment Orientation - Euler", 3, 1},
    {"segmentPos", "Segment Position", 4, 0},
    {"segmentAngVel", "Segment Angular Velocity", 4, 1},
    {"segmentVel", "Segment Velocity", 5, 0},
    {"segmentAngAcc", "Segment Angular Acceleration", 5, 1},
    {"segmentAcc", "Segment Acceleration", 6, 0},
    {"centerOfMass", "Center of Mass", 6, 1},
    {"globalPosition", "Global Position", 7, 0},
    {"externalData", "External Data", 7, 1},
    {"jointAngles", "Joint Angles ZXY", 9, 0},
    {"jointAnglesXZY", "Joint Angles XZY", 9, 1},
    {"ergJointAngles", "Ergonomic Joint Angles ZXY", 10, 0},
    {"ergJointAnglesXZY", "Ergonomic Joint Angles XZY", 10, 1},
    {"sensorOri", "Sensor Orientation - Quat", 12, 0},
    {"sensorOriEuler", "Sensor Orientation - Euler", 12, 1},
    {"sensorFreeAcc", "Sensor Free Acceleration", 13, 0},
    {"sensorMagField", "Sensor Magnetic Field", 13, 1},
};

// "frameSkip" 0 and every sheet key set to `sheets`.
QMap<QString, QVariant> storedValues(bool sheets)
{
    QMap<QString, QVariant> values{{QStringLiteral("frameSkip"), QVariant(0)}};
    for (const ExpectedBox& box : expectedBoxes)
        values.insert(QString::fromLatin1(box.key), QVariant(sheets));
    return values;
}

using Writes = std::vector<std::pair<QString, QVariant>>;

// Answers the stored values, and logs every write in order.
class RecordingSynchronizer : public AbstractSettingsSynchronizer
{
public:
    explicit RecordingSynchronizer(QMap<QString, QVariant> values = storedValues(true))
        : m_values(std::move(values))
    { }

    QVariant value(const QString& key) const override { return m_values.value(key); }
    void setValue(const QString& key, const QVariant& value) override
    {
        m_values.insert(key, value);
        writes.emplace_back(key, value);
    }

    Writes writes;

private:
    QMap<QString, QVariant> m_values;
};

// Row, column, row span and column span of a grid item.
std::array<int, 4> cellOf(QGridLayout* grid, int index)
{
    std::array<int, 4> cell{};
    grid->getItemPosition(index, &cell[0], &cell[1], &cell[2], &cell[3]);
    return cell;
}

QCheckBox* checkBox(QWidget* page, const char* key)
{
    return page->findChild<QCheckBox*>(QString::fromLatin1(key) + QStringLiteral("CheckBox"));
}

QComboBox* frameSkipBox(QWidget* page)
{
    return page->findChild<QComboBox*>(QStringLiteral("frameSkipComboBox"));
}

// apply() writes an int "frameSkip" first, then every sheet key in ascending order as a bool:
// `usual`, or its opposite for the keys in `exceptions`.
void expectApplied(const Writes& writes, int frameSkip, bool usual, const QStringList& exceptions = {})
{
    QStringList keys;
    for (const ExpectedBox& box : expectedBoxes)
        keys << QString::fromLatin1(box.key);
    keys.sort();
    Writes expected{{QStringLiteral("frameSkip"), QVariant(frameSkip)}};
    for (const QString& key : keys)
        expected.emplace_back(key, QVariant(exceptions.contains(key) ? !usual : usual));
    EXPECT_EQ(writes, expected);
    for (const auto& [key, value] : writes)
        EXPECT_EQ(value.typeId(), key == "frameSkip" ? QMetaType::Int : QMetaType::Bool) << key.toStdString();
}

class OptionsPageTest : public ::testing::Test
{
protected:
    RecordingSynchronizer store;
    ExcelExporterOptionsPage page{&store, nullptr};
    QWidget parent;
};

TEST_F(OptionsPageTest, LaysOutTheGridCellByCell)
{
    QWidget* widget = page.createPage(&parent);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->parentWidget(), &parent);
    auto* grid = qobject_cast<QGridLayout*>(widget->layout());
    ASSERT_NE(grid, nullptr);
    // Label and combo box, 20 check boxes, 4 spacers: nothing else.
    EXPECT_EQ(grid->count(), 26);

    QComboBox* combo = frameSkipBox(widget);
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(cellOf(grid, grid->indexOf(combo)), (std::array{0, 1, 1, 1}));
    auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Exporter frame skip (for downsampling)");
    EXPECT_EQ(label->buddy(), combo);
    EXPECT_EQ(cellOf(grid, grid->indexOf(label)), (std::array{0, 0, 1, 1}));

    for (const ExpectedBox& expected : expectedBoxes) {
        SCOPED_TRACE(expected.key);
        QCheckBox* box = checkBox(widget, expected.key);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->text(), expected.title);
        EXPECT_EQ(cellOf(grid, grid->indexOf(box)), (std::array{expected.row, expected.column, 1, 1}));
    }
    EXPECT_EQ(widget->findChildren<QCheckBox*>().size(), static_cast<qsizetype>(std::size(expectedBoxes)));

    // The group gaps span two rows of column 0; the last spacer pushes the content up.
    std::vector<std::array<int, 4>> spacerCells;
    for (int index = 0; index < grid->count(); ++index) {
        if (QSpacerItem* spacer = grid->itemAt(index)->spacerItem()) {
            spacerCells.push_back(cellOf(grid, index));
            const bool filler = spacerCells.back()[0] == 14;
            EXPECT_EQ(spacer->sizeHint(), QSize(10, filler ? 0 : 24));
            EXPECT_EQ(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
            EXPECT_EQ(spacer->sizePolicy().verticalPolicy(), filler ? QSizePolicy::Expanding : QSizePolicy::Fixed);
        }
    }
    EXPECT_EQ(spacerCells, (std::vector<std::array<int, 4>>{{2, 0, 2, 1}, {8, 0, 2, 1}, {11, 0, 2, 1}, {14, 0, 1, 1}}));
}

TEST_F(OptionsPageTest, FrameSkipIsChosenByIndexAndTheLatestPageIsApplied)
{
    store.setValue(QStringLiteral("frameSkip"), 7);
    QWidget* first = page.createPage(&parent);
    QComboBox* combo = frameSkipBox(first);
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 11);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(combo->itemText(i), QString::number(i));
        EXPECT_EQ(combo->itemData(i), QVariant(i));
        EXPECT_EQ(combo->itemData(i).typeId(), QMetaType::Int);
        EXPECT_TRUE(combo->itemIcon(i).isNull());
    }
    EXPECT_EQ(combo->currentIndex(), 7);
    checkBox(first, "segmentVel")->setChecked(false);

    // A later page replaces the first for apply(). Its stored frame skip lies outside the
    // list: nothing is selected, and apply() writes -1.
    store.setValue(QStringLiteral("frameSkip"), 12);
    store.setValue(QStringLiteral("markers"), false);
    std::unique_ptr<QWidget> second(page.createPage(nullptr));
    EXPECT_EQ(frameSkipBox(second.get())->currentIndex(), -1);
    store.writes.clear();
    page.apply();
    expectApplied(store.writes, -1, true, {"markers"});
}

TEST_F(OptionsPageTest, OnlyTheFrameSkipReportsAChangeAndApplyWritesEveryKey)
{
    QSignalSpy itemChanged(&page, &AbstractOptionsPage::itemChanged);
    QSignalSpy optionsSaved(&page, &AbstractOptionsPage::optionsSaved);
    QSignalSpy suffixChanged(&page, &AbstractOptionsPage::suffixChanged);
    store.setValue(QStringLiteral("frameSkip"), 4);
    store.setValue(QStringLiteral("jointAngles"), false);

    QWidget* widget = page.createPage(&parent);
    EXPECT_EQ(itemChanged.count(), 0) << "filling the page reported a change";
    frameSkipBox(widget)->setCurrentIndex(3);
    EXPECT_EQ(itemChanged.count(), 1);
    checkBox(widget, "markers")->setChecked(false);
    checkBox(widget, "sensorMagField")->click();
    checkBox(widget, "jointAngles")->setChecked(true);
    store.writes.clear();

    page.apply();
    EXPECT_EQ(itemChanged.count(), 1) << "a check box or apply() reported a change";
    EXPECT_EQ(optionsSaved.count(), 0);
    EXPECT_EQ(suffixChanged.count(), 0);
    expectApplied(store.writes, 3, true, {"markers", "sensorMagField"});
}

TEST_F(OptionsPageTest, GeneralInformationStaysTickedWhenEverythingIsStoredOff)
{
    RecordingSynchronizer offStore(storedValues(false));
    ExcelExporterOptionsPage offPage(&offStore, nullptr);
    QWidget* widget = offPage.createPage(&parent);
    for (const ExpectedBox& expected : expectedBoxes) {
        QCheckBox* box = checkBox(widget, expected.key);
        const bool generalInfo = QByteArray(expected.key) == "generalInfo";
        EXPECT_EQ(box->isChecked(), generalInfo) << expected.key;
        EXPECT_EQ(box->isEnabled(), !generalInfo) << expected.key;
    }

    offPage.apply();
    expectApplied(offStore.writes, 0, false, {"generalInfo"});
}

// Answers every lookup with its context and source, so the test sees what was translated where.
class ContextEchoTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char*, int) const override
    {
        return QString::fromLatin1(context) + QLatin1Char('|') + QString::fromLatin1(sourceText);
    }
};

TEST_F(OptionsPageTest, IdentityStaysPlainWhileTextsTranslateInThePageContext)
{
    QObject* object = &page;
    EXPECT_EQ(qobject_cast<AbstractOptionsPage*>(object), &page);
    EXPECT_EQ(page.qt_metacast(AbstractOptionsPage_iid), static_cast<AbstractOptionsPage*>(&page));
    EXPECT_NE(page.qt_metacast("ExcelExporterOptionsPage"), nullptr);
    EXPECT_EQ(page.factoryName(), "Excel Exporter");
    EXPECT_TRUE(page.showSaveCloseButtons());

    ContextEchoTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    QWidget* widget = page.createPage(&parent);
    EXPECT_EQ(page.name(), "Excel");
    EXPECT_EQ(page.trName(), "Excel");
    EXPECT_EQ(page.category(), "Exporters");
    EXPECT_EQ(page.trCategory(), "Exporters");
    QCoreApplication::removeTranslator(&translator);

    const QString context = QStringLiteral("ExcelExporterOptionsPage|");
    EXPECT_EQ(widget->findChild<QLabel*>()->text(), context + "Exporter frame skip (for downsampling)");
    for (const ExpectedBox& expected : expectedBoxes)
        EXPECT_EQ(checkBox(widget, expected.key)->text(), context + expected.title);
}

} // namespace
