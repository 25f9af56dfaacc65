#include "KRXSummaryDelegate.h"

#include <QPainter>
#include <QTextLayout>
#include <QTextOption>

#include <cmath>

namespace {

/// What stays free at the left and at the right of a text, in pixels.
constexpr int kTextMargin = 3;

/// Lays \a text out in lines of that width. \return the height of all of them.
int layOut(QTextLayout& layout, const QStyleOptionViewItem& option, int width)
{
    QTextOption text;
    text.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text.setTextDirection(option.direction);
    text.setAlignment(QStyle::visualAlignment(option.direction, Qt::AlignLeft));
    layout.setTextOption(text);
    layout.beginLayout();
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return int(std::ceil(height));
}

QString withLineSeparators(QString text)
{
    return text.replace(QLatin1Char('\n'), QChar(QChar::LineSeparator));
}

} // namespace

KRXSummaryDelegate::KRXSummaryDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

void KRXSummaryDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    const QRect room = cell.rect.adjusted(kTextMargin, 0, -kTextMargin, 0);
    QTextLayout layout(withLineSeparators(cell.text), cell.font);
    layOut(layout, cell, room.width());
    painter->setPen(cell.palette.color(QPalette::Text));
    layout.draw(painter, room.topLeft());
}

QSize KRXSummaryDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    QTextLayout layout(withLineSeparators(cell.text), cell.font);
    const int height = layOut(layout, cell, cell.rect.width() - 2 * kTextMargin);
    return QSize(cell.fontMetrics.size(0, cell.text).width() + 2 * kTextMargin, height);
}
