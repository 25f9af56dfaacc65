#pragma once

#include <QTimer>
#include <QWidget>

class BinsModel;
class DeskProject;
class QLabel;
class QTreeView;

/// Shows the bins with their clips. The bin that is selected (or whose clip is) is the project's active bin.
class BinsPane : public QWidget
{
    Q_OBJECT

public:
    explicit BinsPane(DeskProject& project, QWidget* parent = nullptr);

    QTreeView* view() const { return m_view; }
    /// Opens the bin of the clip added last and scrolls to it a moment later.
    void showLastClip(int bin, int clip);

private:
    void projectReplaced();
    void updateEmptyHint();
    void scrollToLastClip();

    DeskProject& m_project;
    BinsModel* m_model;
    QTreeView* m_view;
    QLabel* m_hint;
    QTimer m_scroll;
    int m_lastBin = 0;
    int m_lastClip = 0;
};
