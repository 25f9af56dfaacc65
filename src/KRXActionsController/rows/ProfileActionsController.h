#pragma once

#include "ActionType.h"
#include "KRXExport.h"

#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class ActionTWidget;
class IAction;
class KRXProfilesWindow;
class KRXTwistWidget;
class QAction;
class QUndoStack;

/// The ordered list of a profile's actions, as rows in a section of the profile editor.
class KRX_EXPORT ProfileActionsController : public QObject
{
    Q_OBJECT

public:
    /// \param section holds the rows, among other things; not owned.
    /// \param window the profile editor around it, which becomes the parent; may be null.
    ProfileActionsController(KRXTwistWidget* section, KRXProfilesWindow* window);
    ~ProfileActionsController() override;

    /// Appends "processDefinition" with one activity for each row, in the order on screen, to \a parent.
    /// \return true.
    bool writeXml(QDomDocument& doc, QDomElement& parent);
    /// Replaces the rows by those of the document's activities and forgets what could be undone. Activities
    /// of an unknown kind are left out with a warning in the log. Tells the user once when something could
    /// not be restored.
    void readXml(const QDomDocument& doc);
    /// Whether there is no more than one consolidate action, as a profile can hold. Undoing can bring a
    /// second one back. \return false when there are more, with a localised text in \a error.
    bool hasOneConsolidateAtMost(QString& error) const;
    /// Asks every action, in the order in which the rows were added, whether it can be saved.
    /// \return false at the first that cannot, with its localised text in \a error.
    bool validate(QString& error);

    /// The lowest number from 1 that no action of that type has. \param except a row that does not count.
    int nextNumber(ActionType type, const ActionTWidget* except = nullptr) const;
    /// The current action of the first row with that type; null when there is none. \param except as above.
    IAction* findAction(ActionType type, const ActionTWidget* except = nullptr) const;

    /// Puts a row at the end of the list; removals before can no longer be undone.
    void addRow(ActionTWidget* row);
    /// Removes a row from the list; the row stays in the section.
    void removeRow(ActionTWidget* row);
    /// Takes a row out of the section and the list; it belongs to the caller then.
    void takeRow(ActionTWidget* row);
    /// Puts a row that was taken back, at an index of the section's layout. An action whose number was given
    /// to another one meanwhile gets a new one. \return false when the section is gone.
    bool restoreRow(ActionTWidget* row, int index);
    /// The rows in the order in which they were added.
    QList<ActionTWidget*> rows() const { return m_rows; }

    /// Lets the Tab key go through the rows in their order on screen.
    void orderTabs();
    /// Selects the row that has the keyboard's focus, or in which something has it; leaves the selection when
    /// there is none.
    void selectRowWithFocus();

    /// What can be undone; owned by this.
    QUndoStack* undoStack() const { return m_undoStack; }

public Q_SLOTS:
    /// Adds a row of the first type that is not in the list yet, a transcode when all are.
    void addNewAction();
    /// Removes the selected row; beeps without one.
    void removeAction();
    /// Moves the selected row up or down by one place, as far as there is one.
    void moveSelectedUp();
    void moveSelectedDown();

private:
    ActionType typeOfNewAction() const;
    QList<ActionTWidget*> rowsOnScreen() const;
    ActionTWidget* selectedRow() const;
    ActionTWidget* rowAround(QWidget* widget) const;
    void focusMoved(QWidget* from, QWidget* to);
    void enterList(ActionTWidget* row);
    bool isNumberTaken(const ActionTWidget* row) const;
    void addMoveAction(const QString& text, int key, void (ProfileActionsController::*slot)());
    void moveSelected(int step);
    void deleteRows();
    QString rebuildRows(const QDomDocument& doc);
    void relayout();

    QPointer<KRXTwistWidget> m_section;
    QPointer<KRXProfilesWindow> m_window;
    QList<ActionTWidget*> m_rows;
    QUndoStack* m_undoStack;
    QList<QAction*> m_moveActions;
    bool m_isRemoving = false;
};
