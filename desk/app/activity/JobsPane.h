#pragma once

#include <QStringList>
#include <QStyledItemDelegate>
#include <QWidget>

class ClipFilter;
class ClipTable;
class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;

/// Paints a bar for how far the work has come.
class ProgressDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

/// What the service works on and what became of it: a row for each clip, with search and what can be done
/// about it. It only asks; the desk acts.
class JobsPane : public QWidget
{
    Q_OBJECT

public:
    /// \param clips must outlive the pane.
    explicit JobsPane(ClipTable& clips, QWidget* parent = nullptr);

signals:
    /// Jobs by their ids.
    void cancelWanted(const QStringList& jobs);
    void retryWanted(const QStringList& jobs);

private:
    void makeActions();
    QWidget* makeBar();
    void makeTable();
    QModelIndexList selected() const;
    /// The jobs of the chosen rows whose state is one of those that \a fits.
    QStringList jobsOf(const QModelIndexList& rows, bool isForRetry) const;
    QStringList allFailed() const;
    void updateActions();
    void countRows();
    void showInFileManager();
    void copyReason();

    ClipTable& m_clips;
    ClipFilter* m_filter;
    QTableView* m_table;
    QLineEdit* m_search = nullptr;
    QComboBox* m_kind = nullptr;
    QLabel* m_count = nullptr;
    QAction* m_cancel = nullptr;
    QAction* m_retry = nullptr;
    QAction* m_retryAll = nullptr;
    QAction* m_show = nullptr;
    QAction* m_copy = nullptr;
    QAction* m_clear = nullptr;
};
