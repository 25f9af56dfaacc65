#pragma once

#include "ServiceClip.h"

#include <QHash>
#include <QTimer>
#include <QVector>
#include <QWidget>

class ClipTable;
class QTreeWidget;
class QTreeWidgetItem;

/// Why is it not ready? A row for each folder with clips that are not, and below it those clips with their
/// reasons: what is on its way first, then what failed, then what is not offered at all. A folder's tool tip
/// tells the first of them.
class NotReadyPane : public QWidget
{
    Q_OBJECT

public:
    /// \param clips must outlive the pane.
    explicit NotReadyPane(const ClipTable& clips, QWidget* parent = nullptr);

    /// What is said of a clip now: its reason, and how long it still settles.
    static QString reasonOf(const ServiceClip& clip);

protected:
    void showEvent(QShowEvent* event) override;

private:
    class OwnerRow;

    void refresh();
    void refreshSoon();
    QString toolTipOf(const QString& owner) const;
    void fill(QTreeWidgetItem& row, const QVector<const ServiceClip*>& clips);

    const ClipTable& m_clips;
    QTreeWidget* m_tree;
    QHash<QString, OwnerRow*> m_rows; ///< by folder; single files under an empty id
    QTimer m_soon{this};
};
