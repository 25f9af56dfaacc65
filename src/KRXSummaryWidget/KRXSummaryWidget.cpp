#include "KRXSummaryWidget.h"

#include "KRXSummaryDelegate.h"
#include "KRXSummaryRows.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"

#include <QHeaderView>
#include <QResizeEvent>

#include <algorithm>

using KRXText::localised;

namespace {

enum Column { TitleColumn, DetailColumn, ColumnCount };
enum Row { BinsRow, LinkRow, FirstActivityRow };

/// What the frame takes from the widget's height, in pixels.
constexpr int kFrameAllowance = 6;

} // namespace

KRXSummaryWidget::KRXSummaryWidget(KRXTwistWidget* section)
    : QTableWidget(0, ColumnCount)
    , m_section(section)
{
    horizontalHeader()->hide();
    verticalHeader()->hide();
    setShowGrid(false);
    setItemDelegate(new KRXSummaryDelegate(this));
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Who clears the summary takes its rows away and leaves the height to it.
    connect(model(), &QAbstractItemModel::rowsRemoved, this, [this] {
        if (rowCount() == 0)
            fitToRows();
    });
    fitToRows();
}

void KRXSummaryWidget::updateSummaryFromXML(QDomDocument& doc)
{
    setRowCount(FirstActivityRow);
    setRow(BinsRow, localised("Bins:"), KRXSummaryBinsRow(doc).detail());
    setRow(LinkRow, localised("Link Options:"), KRXSummaryLinkRow(doc).detail());

    const std::vector<QDomElement> activities = KRXXml::elementsByTag(doc, QStringLiteral("activity"));
    setRowCount(FirstActivityRow + int(activities.size()));
    int row = FirstActivityRow;
    for (const QDomElement& activity : activities) {
        if (const auto summary = makeSummaryRow(activity))
            setRow(row, activity.attribute(QStringLiteral("name")), summary->detail());
        ++row;
    }
    fitToRows();
}

void KRXSummaryWidget::resizeEvent(QResizeEvent* event)
{
    QTableWidget::resizeEvent(event);
    // Another width breaks the texts differently.
    if (event->size().width() != event->oldSize().width())
        fitToRows();
}

void KRXSummaryWidget::setRow(int row, const QString& title, const QString& detail)
{
    setItem(row, TitleColumn, new QTableWidgetItem(title));
    setItem(row, DetailColumn, new QTableWidgetItem(detail));
}

void KRXSummaryWidget::fitToRows()
{
    // The titles take what they need, as long as half is left for the details. The header would stretch the
    // last column only later, and the rows would be measured in the wrong width.
    const int room = viewport()->width();
    const int titles = std::min(sizeHintForColumn(TitleColumn), room / 2);
    setColumnWidth(TitleColumn, titles);
    setColumnWidth(DetailColumn, room - titles);
    resizeRowsToContents();
    int height = kFrameAllowance;
    for (int row = 0; row < rowCount(); ++row)
        height += rowHeight(row);
    setFixedHeight(height);
    if (m_section)
        m_section->updateTWLayout();
}
