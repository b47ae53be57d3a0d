#include "excelexporteroptionspage.h"

#include "sheetcatalogue.h"

#include "fakesettings.h"
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
#include <set>
#include <utility>

namespace {

// "frameSkip" 0 and every sheet key set to `sheets`.
QMap<QString, QVariant> storedValues(bool sheets)
{
    QMap<QString, QVariant> values{{QStringLiteral("frameSkip"), QVariant(0)}};
    for (const SheetEntry& entry : sheetCatalogue)
        values.insert(QString::fromLatin1(entry.key), QVariant(sheets));
    return values;
}

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
void expectApplied(const FakeSettings::Writes& writes, int frameSkip, bool usual, const QStringList& exceptions = {})
{
    QStringList keys;
    for (const SheetEntry& entry : sheetCatalogue)
        keys << QString::fromLatin1(entry.key);
    keys.sort();
    FakeSettings::Writes expected{{QStringLiteral("frameSkip"), QVariant(frameSkip)}};
    for (const QString& key : keys)
        expected.emplace_back(key, QVariant(exceptions.contains(key) ? !usual : usual));
    EXPECT_EQ(writes, expected);
    for (const auto& [key, value] : writes)
        EXPECT_EQ(value.typeId(), key == "frameSkip" ? QMetaType::Int : QMetaType::Bool) << key.toStdString();
}

class OptionsPageTest : public ::testing::Test
{
protected:
    FakeSettings store{storedValues(true)};
    ExcelExporterOptionsPage page{&store, nullptr};
    QWidget parent;
};

TEST_F(OptionsPageTest, LaysOutOneBoxPerSheetInTwoColumnsBelowTheFrameSkip)
{
    QWidget* widget = page.createPage(&parent);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->parentWidget(), &parent);
    auto* grid = qobject_cast<QGridLayout*>(widget->layout());
    ASSERT_NE(grid, nullptr);

    QComboBox* combo = frameSkipBox(widget);
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(cellOf(grid, grid->indexOf(combo)), (std::array{0, 1, 1, 1}));
    auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Exporter frame skip (for downsampling)");
    EXPECT_EQ(label->buddy(), combo);

    // Every sheet has its box, titled as its tab, in a cell of its own in either column.
    std::set<std::pair<int, int>> taken;
    int lastBoxRow = 0;
    for (const SheetEntry& entry : sheetCatalogue) {
        SCOPED_TRACE(entry.key);
        QCheckBox* box = checkBox(widget, entry.key);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->text(), entry.title);
        const std::array<int, 4> cell = cellOf(grid, grid->indexOf(box));
        EXPECT_GE(cell[0], 1);
        EXPECT_LE(cell[1], 1);
        EXPECT_EQ(cell[2] * cell[3], 1);
        EXPECT_TRUE(taken.insert({cell[0], cell[1]}).second);
        lastBoxRow = std::max(lastBoxRow, cell[0]);
    }
    EXPECT_EQ(widget->findChildren<QCheckBox*>().size(), static_cast<qsizetype>(sheetCatalogue.size()));

    // Fixed gaps between the groups of boxes, and one filler below them that takes the
    // remaining height; nothing else.
    int gaps = 0;
    int fillers = 0;
    for (int index = 0; index < grid->count(); ++index) {
        QSpacerItem* spacer = grid->itemAt(index)->spacerItem();
        if (!spacer)
            continue;
        const std::array<int, 4> cell = cellOf(grid, index);
        const bool filler = spacer->sizePolicy().verticalPolicy() == QSizePolicy::Expanding;
        EXPECT_EQ(spacer->sizeHint(), QSize(10, filler ? 0 : 24));
        EXPECT_EQ(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
        if (filler) {
            ++fillers;
            EXPECT_EQ(cell[0], lastBoxRow + 1);
        } else {
            // A gap is an empty row between boxes, its spacer reaching into the next row.
            ++gaps;
            EXPECT_EQ(cell, (std::array{cell[0], 0, 2, 1}));
            EXPECT_GT(cell[0], 1);
            EXPECT_LT(cell[0], lastBoxRow);
            EXPECT_FALSE(taken.count({cell[0], 0}) || taken.count({cell[0], 1})) << cell[0];
        }
    }
    EXPECT_EQ(gaps, 3);
    EXPECT_EQ(fillers, 1);
    EXPECT_EQ(grid->count(), 2 + int(sheetCatalogue.size()) + gaps + fillers);
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
    // The first page's controls no longer count.
    combo->setCurrentIndex(2);
    checkBox(first, "segmentPos")->setChecked(false);
    store.writes.clear();
    page.apply();
    expectApplied(store.writes, -1, true, {"markers"});

    // The choices outlive the widget that made them.
    frameSkipBox(second.get())->setCurrentIndex(5);
    checkBox(second.get(), "segmentAcc")->setChecked(false);
    second.reset();
    store.writes.clear();
    page.apply();
    expectApplied(store.writes, 5, true, {"markers", "segmentAcc"});
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
    FakeSettings offStore(storedValues(false));
    ExcelExporterOptionsPage offPage(&offStore, nullptr);
    QWidget* widget = offPage.createPage(&parent);
    for (const SheetEntry& entry : sheetCatalogue) {
        QCheckBox* box = checkBox(widget, entry.key);
        const bool generalInfo = entry.id == SheetId::GeneralInfo;
        EXPECT_EQ(box->isChecked(), generalInfo) << entry.key;
        EXPECT_EQ(box->isEnabled(), !generalInfo) << entry.key;
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
    for (const SheetEntry& entry : sheetCatalogue)
        EXPECT_EQ(checkBox(widget, entry.key)->text(), context + entry.title);
}

} // namespace
