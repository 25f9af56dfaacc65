#pragma once

#include "ActionType.h"
#include "KRXExport.h"

#include <memory>
#include <vector>

class ActionTWidget;
class IAction;

/// Keeps the actions of one row: one for each type that the row was set to, so that going back to a type
/// finds its options as they were.
class KRX_EXPORT ItemActionsController
{
public:
    /// \param row not owned; it owns this.
    explicit ItemActionsController(ActionTWidget* row);
    /// Deletes the actions, and with them the option widgets that nothing else owns.
    ~ItemActionsController();
    ItemActionsController(const ItemActionsController&) = delete;
    ItemActionsController& operator=(const ItemActionsController&) = delete;

    /// The action of that type: the current one, else one made before (which does not become current by
    /// this), else a new one with its widget and its defaults, which becomes current. Null for Unknown.
    IAction* setAction(ActionType type);
    /// Makes an action that setAction() returned the current one.
    void makeCurrent(IAction* action);
    IAction* currentAction() const { return m_current; }

private:
    IAction* findMade(ActionType type) const;
    void connectWidget(IAction* action);

    IAction* m_current = nullptr;
    std::vector<std::unique_ptr<IAction>> m_actions;
    ActionTWidget* m_row;
};
