#pragma once

#include <QTreeWidgetItem>
#include <QVariant>

#include <array>

/// A row of the folder list. It knows where its cells are kept and how rows are put in order; what the cells
/// mean is the view's business.
///
/// The cells that every row has lie in one array: lists of many thousand folders are filled and sorted in a
/// fraction of the time that the general item takes. Everything else is left to the general item.
class KRXFolderViewWidgetItem : public QTreeWidgetItem
{
public:
    KRXFolderViewWidgetItem();

    QVariant data(int column, int role) const override;
    void setData(int column, int role, const QVariant& value) override;

    /// By ingest state or by check mark when the view is sorted by those columns, else by the shown text.
    bool operator<(const QTreeWidgetItem& other) const override;

private:
    static constexpr int kCellCount = 10;

    /// The text in a cell, which goes on being kept there; null when it holds anything else.
    const QString* keptText(int cell) const;

    std::array<QVariant, kCellCount> m_cells;
};
