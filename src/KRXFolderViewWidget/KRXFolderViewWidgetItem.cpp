#include "KRXFolderViewWidgetItem.h"

#include "KRXFolderViewWidget.h"

KRXFolderViewWidgetItem::KRXFolderViewWidgetItem()
    : QTreeWidgetItem(UserType)
{
}

bool KRXFolderViewWidgetItem::operator<(const QTreeWidgetItem& other) const
{
    const QTreeWidget* view = treeWidget();
    switch (view ? view->sortColumn() : KRXFolderViewWidget::kIdxFolderColumn) {
    case KRXFolderViewWidget::kIdxIngestColumn:
        return KRXFolderViewWidget::getIngestState(this) < KRXFolderViewWidget::getIngestState(&other);
    case KRXFolderViewWidget::kIdxActiveColumn:
        return checkState(KRXFolderViewWidget::kIdxActiveColumn)
            < other.checkState(KRXFolderViewWidget::kIdxActiveColumn);
    default:
        return QTreeWidgetItem::operator<(other);
    }
}
