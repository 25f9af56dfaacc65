#include "KRXFolderViewWidgetItem.h"

#include "KRXFolderViewWidget.h"

#include <QAbstractItemModel>
#include <QVector>

namespace {

using View = KRXFolderViewWidget;

struct Cell
{
    int column;
    int role;
};

/// What every row keeps, in the order of its cells.
constexpr Cell kCells[] = {
    {View::kIdxIngestColumn, Qt::UserRole},     {View::kIdxActiveColumn, Qt::CheckStateRole},
    {View::kIdxFolderColumn, Qt::DisplayRole},  {View::kIdxFolderColumn, Qt::DecorationRole},
    {View::kIdxFolderColumn, Qt::UserRole},     {View::kIdxFolderColumn, View::kFolderExistRole},
    {View::kIdxProfileColumn, Qt::DisplayRole}, {View::kIdxProfileColumn, Qt::UserRole},
    {View::kIdxBinColumn, Qt::DisplayRole},     {View::kIdxPathColumn, Qt::DisplayRole},
};

constexpr int kNoCell = -1;

int cellOf(int column, int role)
{
    // An item has one text for showing and editing.
    const int wanted = role == Qt::EditRole ? static_cast<int>(Qt::DisplayRole) : role;
    int cell = 0;
    for (const Cell& candidate : kCells) {
        if (candidate.column == column && candidate.role == wanted)
            return cell;
        ++cell;
    }
    return kNoCell;
}

} // namespace

KRXFolderViewWidgetItem::KRXFolderViewWidgetItem()
    : QTreeWidgetItem(UserType)
{
    static_assert(sizeof(kCells) / sizeof(kCells[0]) == kCellCount, "one place for each cell");
}

QVariant KRXFolderViewWidgetItem::data(int column, int role) const
{
    const int cell = cellOf(column, role);
    return cell == kNoCell ? QTreeWidgetItem::data(column, role) : m_cells[static_cast<std::size_t>(cell)];
}

void KRXFolderViewWidgetItem::setData(int column, int role, const QVariant& value)
{
    const int cell = cellOf(column, role);
    if (cell == kNoCell) {
        QTreeWidgetItem::setData(column, role, value);
        return;
    }
    QVariant& kept = m_cells[static_cast<std::size_t>(cell)];
    if (kept.userType() == value.userType() && kept == value)
        return;
    kept = value;
    QTreeWidget* tree = treeWidget();
    if (!tree || tree->model()->signalsBlocked())
        return;
    const QModelIndex index = tree->model()->index(tree->indexOfTopLevelItem(this), column);
    emit tree->model()->dataChanged(index, index, {role});
}

bool KRXFolderViewWidgetItem::operator<(const QTreeWidgetItem& other) const
{
    const QTreeWidget* tree = treeWidget();
    const int sortColumn = tree ? tree->sortColumn() : View::kIdxFolderColumn;
    switch (sortColumn) {
    case View::kIdxIngestColumn:
        return View::getIngestState(this) < View::getIngestState(&other);
    case View::kIdxActiveColumn:
        return checkState(sortColumn) < other.checkState(sortColumn);
    default:
        break;
    }
    // Compared where they are kept: a long list is sorted at every refresh.
    const int cell = cellOf(sortColumn, Qt::DisplayRole);
    const auto* row = dynamic_cast<const KRXFolderViewWidgetItem*>(&other);
    const QString* mine = cell == kNoCell ? nullptr : keptText(cell);
    const QString* others = cell == kNoCell || !row ? nullptr : row->keptText(cell);
    return mine && others ? *mine < *others : text(sortColumn) < other.text(sortColumn);
}

const QString* KRXFolderViewWidgetItem::keptText(int cell) const
{
    const QVariant& kept = m_cells[static_cast<std::size_t>(cell)];
    return kept.userType() == QMetaType::QString ? static_cast<const QString*>(kept.constData()) : nullptr;
}
