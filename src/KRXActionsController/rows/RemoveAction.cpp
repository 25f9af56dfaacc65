#include "RemoveAction.h"

#include "ActionTWidget.h"
#include "ProfileActionsController.h"

RemoveAction::RemoveAction(ProfileActionsController* controller, ActionTWidget* row)
    : m_controller(controller)
    , m_row(row)
{
}

RemoveAction::~RemoveAction()
{
    if (m_row && !m_isInList && !m_row->parentWidget())
        m_row->dispose();
}

void RemoveAction::redo()
{
    if (!m_controller || !m_row)
        return;
    m_position = m_row->getActionIndex();
    m_controller->takeRow(m_row);
    m_row->setSelected(false);
    m_isInList = false;
}

void RemoveAction::undo()
{
    if (!m_controller || !m_row)
        return;
    m_isInList = m_controller->restoreRow(m_row, m_position);
}
