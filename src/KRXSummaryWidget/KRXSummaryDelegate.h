#pragma once

#include <QStyledItemDelegate>

/// Paints the cells of the profile summary: whole texts, broken at words where that is possible and in the
/// middle of a word where it is not, because a path can be one long word. Nothing is elided.
class KRXSummaryDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit KRXSummaryDelegate(QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    /// The height that the text takes in the width of \a option, and the width that it would take unbroken.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
