#include "KRXFolderItemDelegate.h"

#include "HostQtShell.h"
#include "KRXFolderViewWidget.h"
#include "KRXSkin.h"

#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStyleOptionFocusRect>
#include <QStyleOptionViewItem>
#include <QWidget>
#include <QWindow>

namespace {

QStyle* styleOf(const QStyleOptionViewItem& option)
{
    return option.widget ? option.widget->style() : QApplication::style();
}

bool isDisabled(const QStyleOptionViewItem& option)
{
    return !option.state.testFlag(QStyle::State_Enabled);
}

QPalette::ColorGroup colorGroup(const QStyleOptionViewItem& option)
{
    if (isDisabled(option))
        return QPalette::Disabled;
    return option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
}

QColor textColor(const QStyleOptionViewItem& option)
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    return option.palette.color(colorGroup(option), selected ? QPalette::HighlightedText : QPalette::Text);
}

/// The room between a cell's edge and its text, as item views have it.
int textMargin(const QStyleOptionViewItem& option)
{
    return styleOf(option)->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
}

void drawBackground(QPainter* painter, const QStyleOptionViewItem& option)
{
    styleOf(option)->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
}

/// The text, elided to \a area, with the frame of a cell that is being edited.
void drawText(QPainter* painter, const QStyleOptionViewItem& option, const QRect& area, const QColor& color)
{
    const int margin = textMargin(option);
    const QRect room = area.adjusted(margin, 0, -margin, 0);
    painter->save();
    painter->setFont(option.font);
    painter->setPen(color);
    if (room.isValid()) {
        const Qt::Alignment alignment = QStyle::visualAlignment(option.direction, option.displayAlignment);
        painter->drawText(room, static_cast<int>(alignment) | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(option.text, option.textElideMode, room.width()));
    }
    if (option.state.testFlag(QStyle::State_Editing)) {
        painter->setPen(option.palette.color(colorGroup(option), QPalette::Text));
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(area.adjusted(0, 0, -1, -1));
    }
    painter->restore();
}

void drawFocus(QPainter* painter, const QStyleOptionViewItem& option)
{
    if (!option.state.testFlag(QStyle::State_HasFocus))
        return;
    const QStyle* style = styleOf(option);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    QStyleOptionFocusRect focus;
    focus.QStyleOption::operator=(option);
    focus.rect = style->subElementRect(QStyle::SE_ItemViewItemFocusRect, &option, option.widget);
    focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
    focus.backgroundColor =
        option.palette.color(colorGroup(option), selected ? QPalette::Highlight : QPalette::Window);
    style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, option.widget);
}

QPixmap pixmapOf(const QStyleOptionViewItem& option, const QSize& size)
{
    QWindow* window = option.widget ? option.widget->window()->windowHandle() : nullptr;
    return option.icon.pixmap(window, size);
}

} // namespace

KRXFolderItemDelegate::KRXFolderItemDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

void KRXFolderItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const
{
    switch (index.column()) {
    case KRXFolderViewWidget::kIdxIngestColumn:
        paintIngest(painter, option, index);
        break;
    case KRXFolderViewWidget::kIdxFolderColumn:
        paintFolder(painter, option, index);
        break;
    case KRXFolderViewWidget::kIdxProfileColumn:
        paintProfile(painter, option, index);
        break;
    default:
        QStyledItemDelegate::paint(painter, option, index);
        break;
    }
}

void KRXFolderItemDelegate::paintIngest(QPainter* painter, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const QString icon = KRXFolderViewWidget::ingestIconName(index.data(Qt::UserRole).toInt());
    if (icon.isEmpty())
        return;
    const bool isReady = index.data(Qt::UserRole).toInt() == KRXFolderViewWidget::NewClipsAvailable;
    // Ready and in progress are told apart by colour, so these icons keep theirs.
    KRXSkin::drawIcon(painter, option.rect,
                      {icon, KRXFolderViewWidget::ingestIconGroup(), HostQtShell::IconTintColors(),
                       HostQtShell::disabledAlpha(isDisabled(option))},
                      isReady ? KRXSkin::Drawing::ClipsReady : KRXSkin::Drawing::ClipsOnTheirWay,
                      textColor(option));
}

void KRXFolderItemDelegate::paintFolder(QPainter* painter, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const
{
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    const QStyle* style = styleOf(cell);
    const bool exists = index.data(KRXFolderViewWidget::kFolderExistRole).toBool();

    drawBackground(painter, cell);

    const QRect iconArea = style->subElementRect(QStyle::SE_ItemViewItemDecoration, &cell, cell.widget);
    HostQtShell::IconTintColors tint = HostQtShell::iconTintColors();
    if (!exists)
        tint.to = QColor(Qt::darkRed);
    HostQtShell::drawSkinnedImage(painter, iconArea, pixmapOf(cell, iconArea.size()), tint,
                                  HostQtShell::disabledAlpha(isDisabled(cell)));

    const QRect textArea = style->subElementRect(QStyle::SE_ItemViewItemText, &cell, cell.widget);
    drawText(painter, cell, textArea, exists ? textColor(cell) : QColor(Qt::darkRed));
    drawFocus(painter, cell);
}

void KRXFolderItemDelegate::paintProfile(QPainter* painter, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const
{
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    const QStyle* style = styleOf(cell);

    drawBackground(painter, cell);

    QStyleOptionComboBox box;
    box.QStyleOption::operator=(cell);
    const QRect arrow =
        style->subControlRect(QStyle::CC_ComboBox, &box, QStyle::SC_ComboBoxArrow, cell.widget);
    const bool pressed = cell.state.testFlag(QStyle::State_Sunken) || cell.state.testFlag(QStyle::State_On);
    KRXSkin::drawIcon(painter, arrow,
                      // Host icon icons/Arrows/popup_arrow.png; without it: a triangle is drawn.
                      {QStringLiteral("Arrows/popup_arrow.png"), QStringLiteral("icons"),
                       HostQtShell::iconTintColors(), HostQtShell::disabledAlpha(isDisabled(cell)),
                       pressed ? HostQtShell::IconVariant::Pressed : HostQtShell::IconVariant::Normal},
                      KRXSkin::Drawing::ArrowDown, textColor(cell));

    QRect textArea = style->subElementRect(QStyle::SE_ItemViewItemText, &cell, cell.widget);
    if (cell.direction == Qt::RightToLeft)
        textArea.setLeft(qMax(textArea.left(), arrow.right() + 1));
    else
        textArea.setRight(qMin(textArea.right(), arrow.left() - 1));
    drawText(painter, cell, textArea, textColor(cell));
    drawFocus(painter, cell);
}
