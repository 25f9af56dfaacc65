#pragma once

#include <QStyledItemDelegate>

/// Draws the cells of the folder list that look unlike plain text: the acquire icon, the folder with its icon
/// (dark red when its directory is missing), and the profile as a closed drop-down. It reads item roles only.
class KRXFolderItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit KRXFolderItemDelegate(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

private:
    void paintIngest(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintFolder(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintProfile(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
};
