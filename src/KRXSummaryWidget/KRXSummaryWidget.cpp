#include "KRXSummaryWidget.h"

#include "KRXSummaryRows.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"

#include <QHeaderView>
#include <QResizeEvent>

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
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    setShowGrid(false);
    setWordWrap(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
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
    // Another width wraps the details differently.
    if (event->size().width() != event->oldSize().width() && !m_fitting)
        fitToRows();
}

void KRXSummaryWidget::setRow(int row, const QString& title, const QString& detail)
{
    auto* titleItem = new QTableWidgetItem(title);
    titleItem->setTextAlignment(Qt::AlignLeft | Qt::AlignTop);
    setItem(row, TitleColumn, titleItem);
    auto* detailItem = new QTableWidgetItem(detail);
    detailItem->setTextAlignment(Qt::AlignLeft | Qt::AlignTop);
    setItem(row, DetailColumn, detailItem);
}

void KRXSummaryWidget::fitToRows()
{
    m_fitting = true;
    resizeColumnsToContents();
    resizeRowsToContents();
    int height = kFrameAllowance;
    for (int row = 0; row < rowCount(); ++row)
        height += rowHeight(row);
    setFixedHeight(height);
    if (m_section)
        m_section->updateTWLayout();
    m_fitting = false;
}
