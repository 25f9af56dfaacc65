#pragma once

#include "ActionType.h"
#include "KRXExport.h"
#include "KRXTwistWidget.h"

#include <QPointer>
#include <QString>

#include <memory>

class ActionTypeBox;
class IAction;
class ItemActionsController;
class ProfileActionsController;
class QMimeData;

/// The row of one action: a section whose title bar chooses the action's type and whose body holds its
/// options. A row is selected by a click or by the keyboard's focus, and ordered by dragging or with Alt+Up
/// and Alt+Down.
class KRX_EXPORT ActionTWidget : public KRXTwistWidget
{
    Q_OBJECT

public:
    /// \param type not Unknown. \param number the action's number; 0 leaves it without one.
    ActionTWidget(QWidget* parent, ActionType type, int number);
    ~ActionTWidget() override;

    IAction* getCurrentAction() const;
    ItemActionsController* getActionsController() const { return m_holder.get(); }
    /// The name of the chosen type, as it is shown.
    QString getActionName() const;
    /// The row's position in its parent's layout; -1 without one.
    int getActionIndex() const;
    bool showDropIndicator() const override;

    /// The list that the row is in; null for none. Set by the list.
    void setList(ProfileActionsController* list);
    bool isIn(const ProfileActionsController* list) const;
    /// Makes this row the editor's selected one.
    void select();
    /// Deletes the row; one that is in the middle of a drag or a message box goes after it.
    void dispose();

public Q_SLOTS:
    /// Gives the row an action of another type. A second consolidate action in a list is refused with a
    /// message.
    void actionTypeChanged(int index);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    class NestedLoop;

    void addTypeBox(ActionType type);
    void refuseSecondConsolidate();
    void drag(const QPoint& hotSpot);
    QPixmap dragImage();
    ActionTWidget* draggedSibling(const QMimeData* dragged) const;
    void setDropPosition(DropPosition position);

    std::unique_ptr<ItemActionsController> m_holder;
    ActionTypeBox* m_typeBox;
    QPointer<QWidget> m_options;
    QPointer<ProfileActionsController> m_list;
    int m_nestedLoops = 0;
    bool m_isDisposed = false;
};
