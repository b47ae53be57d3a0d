#include "excelexporteroptionspage.h"

#include "abstractsettingssynchronizer.h"
#include "exportsettings.h"
#include "sheetcatalogue.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSpacerItem>
#include <QWidget>

#include <array>

namespace {

constexpr int MaxFrameSkip = 10;

// The page's grid below the frame-skip row, in the order the items are added. Each group gap
// spans two rows of column 0, reaching into the next group's first row; the bottom filler
// pushes everything to the top.
struct PageItem
{
    enum Kind { SheetBox,
        GroupGap,
        BottomFiller };
    Kind kind;
    SheetId sheet;
    int row;
    int column;
};

constexpr std::array<PageItem, 24> pageItems = {{
    {PageItem::SheetBox, SheetId::GeneralInfo, 1, 0},
    {PageItem::SheetBox, SheetId::Markers, 1, 1},
    {PageItem::GroupGap, {}, 2, 0},
    {PageItem::SheetBox, SheetId::SegmentOriQuat, 3, 0},
    {PageItem::SheetBox, SheetId::SegmentOriEuler, 3, 1},
    {PageItem::SheetBox, SheetId::SegmentPos, 4, 0},
    {PageItem::SheetBox, SheetId::SegmentAngVel, 4, 1},
    {PageItem::SheetBox, SheetId::SegmentVel, 5, 0},
    {PageItem::SheetBox, SheetId::SegmentAngAcc, 5, 1},
    {PageItem::SheetBox, SheetId::SegmentAcc, 6, 0},
    {PageItem::SheetBox, SheetId::CenterOfMass, 6, 1},
    {PageItem::SheetBox, SheetId::GlobalPosition, 7, 0},
    {PageItem::SheetBox, SheetId::ExternalData, 7, 1},
    {PageItem::GroupGap, {}, 8, 0},
    {PageItem::SheetBox, SheetId::JointAngles, 9, 0},
    {PageItem::SheetBox, SheetId::JointAnglesXzy, 9, 1},
    {PageItem::SheetBox, SheetId::ErgJointAngles, 10, 0},
    {PageItem::SheetBox, SheetId::ErgJointAnglesXzy, 10, 1},
    {PageItem::GroupGap, {}, 11, 0},
    {PageItem::SheetBox, SheetId::SensorOri, 12, 0},
    {PageItem::SheetBox, SheetId::SensorOriEuler, 12, 1},
    {PageItem::SheetBox, SheetId::SensorFreeAcc, 13, 0},
    {PageItem::SheetBox, SheetId::SensorMagField, 13, 1},
    {PageItem::BottomFiller, {}, 14, 0},
}};

} // namespace

ExcelExporterOptionsPage::ExcelExporterOptionsPage(AbstractSettingsSynchronizer* settings, QObject* parent)
    : AbstractOptionsPage(parent)
    , m_settings(settings)
{
}

QString ExcelExporterOptionsPage::name() const
{
    return QStringLiteral("Excel");
}

QString ExcelExporterOptionsPage::trName() const
{
    return QStringLiteral("Excel");
}

QString ExcelExporterOptionsPage::category() const
{
    return QStringLiteral("Exporters");
}

QString ExcelExporterOptionsPage::trCategory() const
{
    return QStringLiteral("Exporters");
}

QString ExcelExporterOptionsPage::factoryName() const
{
    return QStringLiteral("Excel Exporter");
}

QWidget* ExcelExporterOptionsPage::createPage(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* grid = new QGridLayout;
    const int pageNumber = ++m_latestPage;
    m_choices = Choices{};

    const int frameSkip = m_settings->value(QString::fromLatin1(FrameSkipKey)).toInt();
    auto* frameSkipComboBox = new QComboBox(page);
    frameSkipComboBox->setObjectName(QStringLiteral("frameSkipComboBox"));
    for (int skip = 0; skip <= MaxFrameSkip; ++skip)
        frameSkipComboBox->addItem(QStringLiteral("%1").arg(skip), skip);
    // Positional on purpose: a stored value outside 0..10 leaves no current item (index -1).
    frameSkipComboBox->setCurrentIndex(frameSkip);
    m_choices.frameSkip = frameSkipComboBox->currentIndex();
    // Connected only now, so that filling the page does not report a change; the choice is
    // recorded before the change is reported.
    connect(frameSkipComboBox, &QComboBox::currentIndexChanged, this, [this, pageNumber](int index) {
        if (pageNumber == m_latestPage)
            m_choices.frameSkip = index;
    });
    connect(frameSkipComboBox, &QComboBox::currentIndexChanged, this, &AbstractOptionsPage::itemChanged);

    auto* frameSkipLabel = new QLabel(tr("Exporter frame skip (for downsampling)"), page);
    frameSkipLabel->setBuddy(frameSkipComboBox);
    grid->addWidget(frameSkipLabel, 0, 0, 1, 1);
    grid->addWidget(frameSkipComboBox, 0, 1, 1, 1);

    for (const PageItem& item : pageItems) {
        switch (item.kind) {
        case PageItem::SheetBox: {
            const SheetEntry& entry = sheetEntry(item.sheet);
            QCheckBox* box = addSheetCheckBox(page, grid, entry.key, entry.title, item.row, item.column);
            if (item.sheet == SheetId::GeneralInfo) {
                // Always written. Ticking it after the toggle handler is connected also turns
                // a stored false into true among the choices.
                box->setChecked(true);
                box->setEnabled(false);
            }
            break;
        }
        case PageItem::GroupGap:
            grid->addItem(new QSpacerItem(10, 24, QSizePolicy::Minimum, QSizePolicy::Fixed), item.row, item.column,
                2, 1);
            break;
        case PageItem::BottomFiller:
            grid->addItem(new QSpacerItem(10, 0, QSizePolicy::Minimum, QSizePolicy::Expanding), item.row,
                item.column, 1, 1);
            break;
        }
    }

    page->setLayout(grid);
    return page;
}

QCheckBox* ExcelExporterOptionsPage::addSheetCheckBox(QWidget* page, QGridLayout* grid, const char* key,
    const char* title, int row, int column)
{
    const QString keyText = QString::fromLatin1(key);
    auto* box = new QCheckBox(tr(title), page);
    box->setObjectName(keyText + QStringLiteral("CheckBox"));
    const bool checked = m_settings->value(keyText).toBool();
    m_choices.checkStates.insert(keyText, checked);
    box->setChecked(checked);
    // Check boxes only record their state: the host learns of them when it calls apply().
    const int pageNumber = m_latestPage;
    connect(
        box, &QCheckBox::toggled, box,
        [this, keyText, pageNumber](bool on) {
            if (pageNumber == m_latestPage)
                m_choices.checkStates.insert(keyText, on);
        },
        Qt::DirectConnection);
    grid->addWidget(box, row, column, 1, 1);
    return box;
}

void ExcelExporterOptionsPage::apply()
{
    if (!m_choices.frameSkip)
        return;
    m_settings->setValue(QString::fromLatin1(FrameSkipKey), QVariant(*m_choices.frameSkip));
    for (auto it = m_choices.checkStates.cbegin(); it != m_choices.checkStates.cend(); ++it)
        m_settings->setValue(it.key(), QVariant(it.value()));
}
