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

#include <memory>
#include <map>
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
    EXPECT_EQ(widget->parentWidget(), &parent);
    auto* grid = qobject_cast<QGridLayout*>(widget->layout());
    ASSERT_NE(grid, nullptr);
    auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->buddy(), frameSkipBox(widget));
    EXPECT_EQ(grid->itemAtPosition(0, 1)->widget(), frameSkipBox(widget));

    // Every sheet has its box in a cell of its own in either column; three fixed gaps part the
    // groups and one filler below takes the remaining height.
    std::set<std::pair<int, int>> taken;
    for (const SheetEntry& entry : sheetCatalogue) {
        int row = 0, column = 0, rows = 0, columns = 0;
        grid->getItemPosition(grid->indexOf(checkBox(widget, entry.key)), &row, &column, &rows, &columns);
        EXPECT_TRUE(row >= 1 && column <= 1 && rows * columns == 1) << entry.key;
        EXPECT_TRUE(taken.insert({row, column}).second) << entry.key;
    }
    EXPECT_EQ(widget->findChildren<QCheckBox*>().size(), static_cast<qsizetype>(sheetCatalogue.size()));
    std::map<QSizePolicy::Policy, int> spacers;
    for (int index = 0; index < grid->count(); ++index) {
        if (QSpacerItem* spacer = grid->itemAt(index)->spacerItem()) {
            int row = 0, column = 0, rows = 0, columns = 0;
            grid->getItemPosition(index, &row, &column, &rows, &columns);
            EXPECT_FALSE(taken.count({row, 0}) || taken.count({row, 1})) << "spacer in row " << row;
            ++spacers[spacer->sizePolicy().verticalPolicy()];
        }
    }
    EXPECT_EQ(spacers, (std::map<QSizePolicy::Policy, int>{{QSizePolicy::Fixed, 3}, {QSizePolicy::Expanding, 1}}));
    EXPECT_EQ(grid->count(), 2 + int(sheetCatalogue.size()) + 4);
}

TEST_F(OptionsPageTest, FrameSkipIsChosenByIndexAndTheLatestPageIsApplied)
{
    store.setValue(QStringLiteral("frameSkip"), 7);
    QWidget* first = page.createPage(&parent);
    QComboBox* combo = frameSkipBox(first);
    ASSERT_EQ(combo->count(), 11);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(combo->itemText(i), QString::number(i));
        EXPECT_EQ(combo->itemData(i), QVariant(i));
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
    EXPECT_EQ(optionsSaved.count() + suffixChanged.count(), 0);
    expectApplied(store.writes, 3, true, {"markers", "sensorMagField"});
}

TEST_F(OptionsPageTest, GeneralInformationStaysTickedWhenEverythingIsStoredOff)
{
    FakeSettings offStore(storedValues(false));
    ExcelExporterOptionsPage offPage(&offStore, nullptr);
    QWidget* widget = offPage.createPage(&parent);
    for (const SheetEntry& entry : sheetCatalogue) {
        const bool generalInfo = entry.id == SheetId::GeneralInfo;
        EXPECT_EQ(checkBox(widget, entry.key)->isChecked(), generalInfo) << entry.key;
        EXPECT_EQ(checkBox(widget, entry.key)->isEnabled(), !generalInfo) << entry.key;
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

    // Looked up in the page's context, as the boxes are (the plug-in's German test reads them all).
    EXPECT_EQ(widget->findChild<QLabel*>()->text(), "ExcelExporterOptionsPage|Exporter frame skip (for downsampling)");
    EXPECT_EQ(checkBox(widget, "markers")->text(), "ExcelExporterOptionsPage|Markers");
}

} // namespace
