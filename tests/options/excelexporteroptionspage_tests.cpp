#include "excelexporteroptionspage.h"

#include "abstractsettingssynchronizer.h"

#include "widgetapplication.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLayoutItem>
#include <QSignalSpy>
#include <QSpacerItem>
#include <QTranslator>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
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
const std::vector<ExpectedBox> expectedBoxes = {
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

QStringList sheetKeys()
{
    QStringList keys;
    for (const ExpectedBox& box : expectedBoxes)
        keys << QString::fromLatin1(box.key);
    return keys;
}

// A fresh installation's store: "frameSkip" 0 and every worksheet on.
QMap<QString, QVariant> freshDefaults()
{
    QMap<QString, QVariant> defaults{{QStringLiteral("frameSkip"), QVariant(0)}};
    for (const QString& key : sheetKeys())
        defaults.insert(key, QVariant(true));
    return defaults;
}

// Answers the registered default until a key is written, and logs every write in order.
class RecordingSynchronizer : public AbstractSettingsSynchronizer
{
public:
    explicit RecordingSynchronizer(QMap<QString, QVariant> defaults = freshDefaults())
        : m_defaults(std::move(defaults))
    {
    }

    QVariant value(const QString& key) const override { return m_values.value(key, m_defaults.value(key)); }
    void setValue(const QString& key, const QVariant& value) override
    {
        m_values.insert(key, value);
        writes.emplace_back(key, value);
    }

    std::vector<std::pair<QString, QVariant>> writes;

private:
    QMap<QString, QVariant> m_defaults;
    QMap<QString, QVariant> m_values;
};

struct GridCell
{
    int row = -1;
    int column = -1;
    int rowSpan = 0;
    int columnSpan = 0;
    friend bool operator==(const GridCell&, const GridCell&) = default;
};

void PrintTo(const GridCell& cell, std::ostream* out)
{
    *out << "(row " << cell.row << ", column " << cell.column << ", span " << cell.rowSpan << "x" << cell.columnSpan
         << ")";
}

GridCell cellOf(QGridLayout* grid, int index)
{
    GridCell cell;
    grid->getItemPosition(index, &cell.row, &cell.column, &cell.rowSpan, &cell.columnSpan);
    return cell;
}

GridCell cellOf(QGridLayout* grid, QWidget* widget)
{
    return cellOf(grid, grid->indexOf(widget));
}

QGridLayout* gridOf(QWidget* page)
{
    return qobject_cast<QGridLayout*>(page->layout());
}

QCheckBox* checkBox(QWidget* page, const char* key)
{
    return page->findChild<QCheckBox*>(QString::fromLatin1(key) + QStringLiteral("CheckBox"));
}

QComboBox* frameSkipBox(QWidget* page)
{
    return page->findChild<QComboBox*>(QStringLiteral("frameSkipComboBox"));
}

// The keys written by apply(), in order, with their values.
std::vector<std::pair<QString, QVariant>> expectedWrites(const QVariant& frameSkip,
                                                         const QMap<QString, bool>& sheetStates)
{
    std::vector<std::pair<QString, QVariant>> writes{{QStringLiteral("frameSkip"), frameSkip}};
    QStringList keys = sheetKeys();
    std::sort(keys.begin(), keys.end());
    for (const QString& key : keys)
        writes.emplace_back(key, QVariant(sheetStates.value(key)));
    return writes;
}

void expectWritesTyped(const std::vector<std::pair<QString, QVariant>>& writes)
{
    ASSERT_FALSE(writes.empty());
    EXPECT_EQ(writes.front().second.typeId(), QMetaType::Int);
    for (std::size_t i = 1; i < writes.size(); ++i)
        EXPECT_EQ(writes[i].second.typeId(), QMetaType::Bool) << writes[i].first.toStdString();
}

class OptionsPageTest : public ::testing::Test
{
protected:
    RecordingSynchronizer store;
    ExcelExporterOptionsPage page{&store, nullptr};
    QWidget parent;
};

TEST_F(OptionsPageTest, IdentifiesItselfToTheOptionsDialog)
{
    EXPECT_EQ(page.name(), "Excel");
    EXPECT_EQ(page.trName(), "Excel");
    EXPECT_EQ(page.category(), "Exporters");
    EXPECT_EQ(page.trCategory(), "Exporters");
    EXPECT_EQ(page.factoryName(), "Excel Exporter");
    EXPECT_TRUE(page.showSaveCloseButtons());

    QObject* object = &page;
    EXPECT_EQ(qobject_cast<AbstractOptionsPage*>(object), &page);
    EXPECT_EQ(page.qt_metacast(AbstractOptionsPage_iid), static_cast<AbstractOptionsPage*>(&page));
    EXPECT_NE(page.qt_metacast("ExcelExporterOptionsPage"), nullptr);
    EXPECT_NE(page.qt_metacast("AbstractOptionsPage"), nullptr);
    EXPECT_STREQ(page.metaObject()->className(), "ExcelExporterOptionsPage");
}

TEST_F(OptionsPageTest, LaysOutTheGridCellByCell)
{
    QWidget* widget = page.createPage(&parent);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->parentWidget(), &parent);
    QGridLayout* grid = gridOf(widget);
    ASSERT_NE(grid, nullptr);
    // Label and combo box, 20 check boxes, 4 spacers: nothing else.
    EXPECT_EQ(grid->count(), 26);

    QComboBox* combo = frameSkipBox(widget);
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(combo->parentWidget(), widget);
    EXPECT_EQ(cellOf(grid, combo), (GridCell{0, 1, 1, 1}));
    auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Exporter frame skip (for downsampling)");
    EXPECT_EQ(label->buddy(), combo);
    EXPECT_EQ(cellOf(grid, label), (GridCell{0, 0, 1, 1}));

    for (const ExpectedBox& expected : expectedBoxes) {
        SCOPED_TRACE(expected.key);
        QCheckBox* box = checkBox(widget, expected.key);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->parentWidget(), widget);
        EXPECT_EQ(box->text(), expected.title);
        EXPECT_EQ(cellOf(grid, box), (GridCell{expected.row, expected.column, 1, 1}));
    }
    EXPECT_EQ(widget->findChildren<QCheckBox*>().size(), static_cast<qsizetype>(expectedBoxes.size()));

    struct ExpectedSpacer
    {
        GridCell cell;
        QSize size;
        QSizePolicy::Policy vertical;
    };
    const std::vector<ExpectedSpacer> expectedSpacers = {
        {{2, 0, 2, 1}, QSize(10, 24), QSizePolicy::Fixed},
        {{8, 0, 2, 1}, QSize(10, 24), QSizePolicy::Fixed},
        {{11, 0, 2, 1}, QSize(10, 24), QSizePolicy::Fixed},
        {{14, 0, 1, 1}, QSize(10, 0), QSizePolicy::Expanding},
    };
    std::size_t spacerCount = 0;
    for (int index = 0; index < grid->count(); ++index) {
        QSpacerItem* spacer = grid->itemAt(index)->spacerItem();
        if (!spacer)
            continue;
        ASSERT_LT(spacerCount, expectedSpacers.size());
        const ExpectedSpacer& expected = expectedSpacers[spacerCount++];
        SCOPED_TRACE(spacerCount);
        EXPECT_EQ(cellOf(grid, index), expected.cell);
        EXPECT_EQ(spacer->sizeHint(), expected.size);
        EXPECT_EQ(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
        EXPECT_EQ(spacer->sizePolicy().verticalPolicy(), expected.vertical);
    }
    EXPECT_EQ(spacerCount, expectedSpacers.size());
}

TEST_F(OptionsPageTest, OffersFrameSkipsZeroToTenWithTheStoredOneSelected)
{
    store.setValue(QStringLiteral("frameSkip"), 7);
    QWidget* widget = page.createPage(&parent);
    QComboBox* combo = frameSkipBox(widget);
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 11);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(combo->itemText(i), QString::number(i));
        EXPECT_EQ(combo->itemData(i).typeId(), QMetaType::Int);
        EXPECT_EQ(combo->itemData(i).toInt(), i);
        EXPECT_TRUE(combo->itemIcon(i).isNull());
    }
    EXPECT_EQ(combo->currentIndex(), 7);
}

TEST_F(OptionsPageTest, ReportsOnlyFrameSkipChanges)
{
    QSignalSpy itemChanged(&page, &AbstractOptionsPage::itemChanged);
    QSignalSpy optionsSaved(&page, &AbstractOptionsPage::optionsSaved);
    QSignalSpy suffixChanged(&page, &AbstractOptionsPage::suffixChanged);
    store.setValue(QStringLiteral("frameSkip"), 4);
    store.setValue(QStringLiteral("markers"), false);

    QWidget* widget = page.createPage(&parent);
    EXPECT_EQ(itemChanged.count(), 0) << "filling the page reported a change";

    frameSkipBox(widget)->setCurrentIndex(3);
    EXPECT_EQ(itemChanged.count(), 1);

    checkBox(widget, "segmentPos")->setChecked(false);
    checkBox(widget, "markers")->setChecked(true);
    checkBox(widget, "sensorOri")->click();
    EXPECT_EQ(itemChanged.count(), 1) << "a check box reported a change";

    page.apply();
    EXPECT_EQ(itemChanged.count(), 1);
    EXPECT_EQ(optionsSaved.count(), 0);
    EXPECT_EQ(suffixChanged.count(), 0);
}

TEST_F(OptionsPageTest, ApplyWritesFrameSkipThenEveryKeyInAscendingOrder)
{
    QWidget* widget = page.createPage(&parent);
    frameSkipBox(widget)->setCurrentIndex(3);
    checkBox(widget, "markers")->setChecked(false);
    checkBox(widget, "sensorMagField")->click();
    checkBox(widget, "jointAngles")->setChecked(false);
    checkBox(widget, "jointAngles")->setChecked(true);
    store.writes.clear();

    page.apply();

    QMap<QString, bool> states;
    for (const QString& key : sheetKeys())
        states.insert(key, true);
    states[QStringLiteral("markers")] = false;
    states[QStringLiteral("sensorMagField")] = false;
    EXPECT_EQ(store.writes, expectedWrites(QVariant(3), states));
    expectWritesTyped(store.writes);
}

TEST_F(OptionsPageTest, GeneralInformationStaysTickedWhenEverythingIsStoredOff)
{
    QMap<QString, QVariant> allOff{{QStringLiteral("frameSkip"), QVariant(0)}};
    for (const QString& key : sheetKeys())
        allOff.insert(key, QVariant(false));
    RecordingSynchronizer offStore(allOff);
    ExcelExporterOptionsPage offPage(&offStore, nullptr);

    QWidget* widget = offPage.createPage(&parent);
    for (const ExpectedBox& expected : expectedBoxes) {
        SCOPED_TRACE(expected.key);
        QCheckBox* box = checkBox(widget, expected.key);
        ASSERT_NE(box, nullptr);
        const bool generalInfo = QByteArray(expected.key) == "generalInfo";
        EXPECT_EQ(box->isChecked(), generalInfo);
        EXPECT_EQ(box->isEnabled(), !generalInfo);
    }

    offPage.apply();
    QMap<QString, bool> states;
    for (const QString& key : sheetKeys())
        states.insert(key, false);
    states[QStringLiteral("generalInfo")] = true;
    EXPECT_EQ(offStore.writes, expectedWrites(QVariant(0), states));
    expectWritesTyped(offStore.writes);
}

TEST_F(OptionsPageTest, FrameSkipOutsideTheListLeavesNoSelectionAndAppliesMinusOne)
{
    store.setValue(QStringLiteral("frameSkip"), 12);
    QWidget* widget = page.createPage(&parent);
    EXPECT_EQ(frameSkipBox(widget)->currentIndex(), -1);
    store.writes.clear();

    page.apply();
    ASSERT_FALSE(store.writes.empty());
    EXPECT_EQ(store.writes.front().first, "frameSkip");
    EXPECT_EQ(store.writes.front().second, QVariant(-1));
    EXPECT_EQ(store.writes.front().second.typeId(), QMetaType::Int);
}

TEST_F(OptionsPageTest, ALaterPageReplacesTheEarlierOneForApply)
{
    QWidget* first = page.createPage(&parent);
    frameSkipBox(first)->setCurrentIndex(5);
    checkBox(first, "segmentVel")->setChecked(false);

    store.setValue(QStringLiteral("markers"), false);
    std::unique_ptr<QWidget> second(page.createPage(nullptr));
    ASSERT_NE(second.get(), first);
    EXPECT_EQ(second->parentWidget(), nullptr);
    EXPECT_NE(frameSkipBox(second.get()), frameSkipBox(first));
    EXPECT_FALSE(checkBox(second.get(), "markers")->isChecked());
    EXPECT_TRUE(checkBox(second.get(), "segmentVel")->isChecked());
    frameSkipBox(second.get())->setCurrentIndex(2);
    store.writes.clear();

    page.apply();
    QMap<QString, bool> states;
    for (const QString& key : sheetKeys())
        states.insert(key, true);
    states[QStringLiteral("markers")] = false;
    EXPECT_EQ(store.writes, expectedWrites(QVariant(2), states));
}

// Answers every lookup with its context and source, so the test sees what was translated where.
class ContextEchoTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char* /*disambiguation*/,
                      int /*n*/) const override
    {
        return QString::fromLatin1(context) + QLatin1Char('|') + QString::fromLatin1(sourceText);
    }
};

TEST_F(OptionsPageTest, TranslatesItsTextsInItsOwnContext)
{
    ContextEchoTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    QWidget* widget = page.createPage(&parent);
    // Identity strings are never translated.
    EXPECT_EQ(page.trName(), "Excel");
    EXPECT_EQ(page.trCategory(), "Exporters");
    QCoreApplication::removeTranslator(&translator);

    auto* label = qobject_cast<QLabel*>(gridOf(widget)->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "ExcelExporterOptionsPage|Exporter frame skip (for downsampling)");
    for (const ExpectedBox& expected : expectedBoxes)
        EXPECT_EQ(checkBox(widget, expected.key)->text(),
                  QStringLiteral("ExcelExporterOptionsPage|") + QString::fromLatin1(expected.title));
}

} // namespace
