#pragma once

#include "KRXExport.h"

#include <QPointer>
#include <QUndoCommand>

class ActionTWidget;
class ProfileActionsController;

/// The removal of a row. While it is done, the command owns the row.
class KRX_EXPORT RemoveAction : public QUndoCommand
{
public:
    /// \param controller, row not owned; a removal whose list or row is gone does nothing.
    RemoveAction(ProfileActionsController* controller, ActionTWidget* row);
    /// Deletes the row when it is in no list and has no parent.
    ~RemoveAction() override;

    void redo() override;
    void undo() override;

private:
    QPointer<ProfileActionsController> m_controller;
    QPointer<ActionTWidget> m_row;
    qint32 m_position = -1;
    bool m_isInList = false;
};
