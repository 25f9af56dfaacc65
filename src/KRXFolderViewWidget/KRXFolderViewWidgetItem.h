#pragma once

#include <QTreeWidgetItem>

/// A row of the folder list. It knows how rows are put in order; what its cells hold is the view's business.
class KRXFolderViewWidgetItem : public QTreeWidgetItem
{
public:
    KRXFolderViewWidgetItem();

    /// By ingest state or by check mark when the view is sorted by those columns, else by the shown text.
    bool operator<(const QTreeWidgetItem& other) const override;
};
