#include "ProfileActionsController.h"

#include "ActionListLoad.h"
#include "ActionTWidget.h"
#include "IAction.h"
#include "KRXModal.h"
#include "KRXProfilesWindow.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "RemoveAction.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QHash>
#include <QKeySequence>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QUndoStack>

#include <algorithm>
#include <vector>

Q_LOGGING_CATEGORY(lcActions, "krx.actions")

namespace {

/// Keeps the editor from flickering while rows come and go: no vertical scroll bar meanwhile.
class ScrollBarOff
{
public:
    explicit ScrollBarOff(const KRXProfilesWindow* window)
        : m_area(window ? window->getScrollArea() : nullptr)
    {
        if (m_area)
            m_area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    }
    ~ScrollBarOff()
    {
        if (m_area)
            m_area->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    }
    ScrollBarOff(const ScrollBarOff&) = delete;
    ScrollBarOff& operator=(const ScrollBarOff&) = delete;

private:
    QPointer<QScrollArea> m_area;
};

/// The number that a stored name ends in; 0 when it ends in none, or in one that no number can hold.
int numberInName(const QString& name)
{
    // "$" would also match in front of a closing line break.
    static const QRegularExpression closingDigits(QStringLiteral("\\d+\\z"));
    return closingDigits.match(name).captured().toInt();
}

/// Shows what the layout wants to show only from the event loop, so that sizes are right at once.
void flushQueuedCalls(QObject* object)
{
    QCoreApplication::sendPostedEvents(object, QEvent::MetaCall);
}

} // namespace

ProfileActionsController::ProfileActionsController(KRXTwistWidget* section, KRXProfilesWindow* window)
    : QObject(window)
    , m_section(section)
    , m_window(window)
    , m_undoStack(new QUndoStack(this))
{
    addMoveAction(KRXText::localised("Move Action Up"), Qt::Key_Up,
                  &ProfileActionsController::moveSelectedUp);
    addMoveAction(KRXText::localised("Move Action Down"), Qt::Key_Down,
                  &ProfileActionsController::moveSelectedDown);
    connect(qApp, &QApplication::focusChanged, this, &ProfileActionsController::focusMoved);
}

ProfileActionsController::~ProfileActionsController() = default;

void ProfileActionsController::addMoveAction(const QString& text, int key,
                                             void (ProfileActionsController::*slot)())
{
    auto* action = new QAction(text, this);
    action->setShortcut(QKeySequence(int(Qt::ALT) + key));
    // Elsewhere in the window these keys open the lists of boxes.
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(action, &QAction::triggered, this, &ProfileActionsController::selectRowWithFocus);
    connect(action, &QAction::triggered, this, slot);
    m_moveActions.append(action);
}

// --- Documents -----------------------------------------------------------------------------------------

bool ProfileActionsController::writeXml(QDomDocument& doc, QDomElement& parent)
{
    QDomElement process = doc.createElement(QStringLiteral("processDefinition"));
    QDomElement package = doc.createElement(QStringLiteral("package"));
    process.appendChild(package);
    parent.appendChild(process);
    QDomElement activities = doc.createElement(QStringLiteral("activities"));
    package.appendChild(activities);
    for (const ActionTWidget* row : rowsOnScreen())
        row->getCurrentAction()->writeXml(doc, activities);
    return true;
}

void ProfileActionsController::readXml(const QDomDocument& doc)
{
    const QPointer<ProfileActionsController> self(this);
    const ScrollBarOff scrollBarOff(m_window);
    deleteRows();
    if (!m_section)
        return;
    const QString notices = rebuildRows(doc);
    if (!notices.isEmpty()) {
        KRXModal::showMessageBox(m_window, QMessageBox::Information, QString(), notices, QMessageBox::Ok,
                                 QMessageBox::Ok);
        // The editor can go while the box is open.
        if (!self)
            return;
    }
    relayout();
    if (m_window)
        m_window->update();
}

void ProfileActionsController::deleteRows()
{
    // First of all: a removal that can be undone would bring a row of the former profile back.
    m_undoStack->clear();
    if (m_window) {
        m_window->setUpdatesEnabled(false);
        m_window->setCurrentSelectedAction(nullptr);
    }
    const QList<ActionTWidget*> rows = m_rows;
    m_rows.clear();
    for (ActionTWidget* row : rows)
        row->dispose();
    if (m_window)
        m_window->setUpdatesEnabled(true);
}

/// \return the notices of all activities, in their order.
QString ProfileActionsController::rebuildRows(const QDomDocument& doc)
{
    const ActionListLoad load;
    QString notices;
    for (const QDomElement& activity :
         KRXXml::elementsByTag(doc.documentElement(), QStringLiteral("activity"))) {
        const QString id = activity.attribute(QStringLiteral("id"));
        const QString name = activity.attribute(QStringLiteral("name"));
        const ActionType type = actionTypeFromId(id);
        if (type == ActionType::Unknown) {
            qCWarning(lcActions, "Left out an activity of unknown kind: id \"%s\", name \"%s\"",
                      qUtf8Printable(id), qUtf8Printable(name));
            continue;
        }
        auto* row = new ActionTWidget(m_section, type, numberInName(name));
        addRow(row);
        if (const quint32 notice = row->getCurrentAction()->readXml(activity))
            notices += noticeText(notice);
    }
    return notices;
}

bool ProfileActionsController::validate(QString& error)
{
    for (const ActionTWidget* row : qAsConst(m_rows)) {
        if (!row->getCurrentAction()->validate(error))
            return false;
    }
    return true;
}

bool ProfileActionsController::hasOneConsolidateAtMost(QString& error) const
{
    const int count = int(std::count_if(m_rows.begin(), m_rows.end(), [](const ActionTWidget* row) {
        return row->getCurrentAction()->getType() == ActionType::Consolidate;
    }));
    if (count <= 1)
        return true;
    error = KRXText::localised("Only a single Consolidate action can be added");
    return false;
}

// --- The list ------------------------------------------------------------------------------------------

int ProfileActionsController::nextNumber(ActionType type, const ActionTWidget* except) const
{
    std::vector<int> taken;
    for (const ActionTWidget* row : m_rows) {
        if (row != except && row->getCurrentAction()->getType() == type)
            taken.push_back(row->getCurrentAction()->number());
    }
    std::sort(taken.begin(), taken.end());
    int candidate = 1;
    for (int number : taken) {
        if (number == candidate)
            ++candidate;
    }
    return candidate;
}

IAction* ProfileActionsController::findAction(ActionType type, const ActionTWidget* except) const
{
    for (const ActionTWidget* row : m_rows) {
        if (row != except && row->getCurrentAction()->getType() == type)
            return row->getCurrentAction();
    }
    return nullptr;
}

void ProfileActionsController::addRow(ActionTWidget* row)
{
    if (m_section)
        m_section->addSubTW(row, 0);
    enterList(row);
    if (!m_undoStack->isClean())
        m_undoStack->clear();
    flushQueuedCalls(row);
}

void ProfileActionsController::enterList(ActionTWidget* row)
{
    m_rows.append(row);
    row->setList(this);
    row->addActions(m_moveActions);
}

/// Whether another action of the row's type has its number. Any number of actions can have none.
bool ProfileActionsController::isNumberTaken(const ActionTWidget* row) const
{
    const IAction* action = row->getCurrentAction();
    return action->number() != 0 &&
           std::any_of(m_rows.begin(), m_rows.end(), [row, action](const ActionTWidget* other) {
               return other != row && other->getCurrentAction()->getType() == action->getType() &&
                      other->getCurrentAction()->number() == action->number();
           });
}

void ProfileActionsController::removeRow(ActionTWidget* row)
{
    m_rows.removeAll(row);
    if (row)
        row->setList(nullptr);
}

void ProfileActionsController::takeRow(ActionTWidget* row)
{
    if (m_section)
        m_section->removeWidgetFromBody(row);
    removeRow(row);
}

bool ProfileActionsController::restoreRow(ActionTWidget* row, int index)
{
    if (!m_section)
        return false;
    m_section->addSubTW(row, 0);
    // The section itself can only append or insert behind its first item.
    auto* layout = qobject_cast<QBoxLayout*>(row->parentWidget()->layout());
    if (layout && index >= 0)
        layout->insertWidget(qMin(index, layout->count() - 1), row);
    enterList(row);
    if (isNumberTaken(row)) {
        IAction* action = row->getCurrentAction();
        action->setNumber(nextNumber(action->getType(), row));
    }
    orderTabs();
    flushQueuedCalls(row);
    return true;
}

/// Sorted by the place in the layout; one walk over each layout, because asking every row for its index would
/// walk the layout once per row.
QList<ActionTWidget*> ProfileActionsController::rowsOnScreen() const
{
    QHash<const QWidget*, int> places;
    if (!m_rows.isEmpty() && m_rows.first()->parentWidget()) {
        if (const QLayout* layout = m_rows.first()->parentWidget()->layout()) {
            for (int index = 0; index < layout->count(); ++index) {
                if (const QWidget* widget = layout->itemAt(index)->widget())
                    places.insert(widget, index);
            }
        }
    }
    QList<ActionTWidget*> sorted = m_rows;
    std::stable_sort(sorted.begin(), sorted.end(), [&places](const ActionTWidget* a, const ActionTWidget* b) {
        return places.value(a, -1) < places.value(b, -1);
    });
    return sorted;
}

ActionTWidget* ProfileActionsController::selectedRow() const
{
    auto* row = m_window ? qobject_cast<ActionTWidget*>(m_window->getCurrentSelectedAction()) : nullptr;
    return m_rows.contains(row) ? row : nullptr;
}

/// The row that \a widget is, or is in; null when it is in none of this list.
ActionTWidget* ProfileActionsController::rowAround(QWidget* widget) const
{
    for (; widget; widget = widget->parentWidget()) {
        auto* row = qobject_cast<ActionTWidget*>(widget);
        if (row && row->isIn(this))
            return row;
    }
    return nullptr;
}

void ProfileActionsController::focusMoved(QWidget*, QWidget* to)
{
    // A row that gets the focus because the one before it was removed is not selected by that.
    ActionTWidget* row = m_isRemoving ? nullptr : rowAround(to);
    if (row)
        row->select();
}

void ProfileActionsController::selectRowWithFocus()
{
    if (ActionTWidget* row = rowAround(QApplication::focusWidget()))
        row->select();
}

void ProfileActionsController::orderTabs()
{
    if (m_rows.isEmpty())
        return;
    // One walk along the chain of all widgets, for the stops within each row.
    QHash<const ActionTWidget*, QList<QWidget*>> stops;
    QWidget* const start = m_rows.first();
    QWidget* widget = start;
    do {
        const ActionTWidget* row = (widget->focusPolicy() & Qt::TabFocus) != 0 ? rowAround(widget) : nullptr;
        if (row && row != widget)
            stops[row].append(widget);
        widget = widget->nextInFocusChain();
    } while (widget != start);
    QWidget* last = nullptr;
    for (ActionTWidget* row : rowsOnScreen()) {
        if (last)
            QWidget::setTabOrder(last, row);
        last = row;
        for (QWidget* stop : qAsConst(stops[row])) {
            QWidget::setTabOrder(last, stop);
            last = stop;
        }
    }
}

void ProfileActionsController::relayout()
{
    orderTabs();
    if (m_section)
        m_section->updateTWLayout();
}

// --- What the user does --------------------------------------------------------------------------------

ActionType ProfileActionsController::typeOfNewAction() const
{
    for (int type = 0; type < kActionTypeCount; ++type) {
        if (!findAction(ActionType(type)))
            return ActionType(type);
    }
    return ActionType::Transcode;
}

void ProfileActionsController::addNewAction()
{
    if (!m_section)
        return;
    const ScrollBarOff scrollBarOff(m_window);
    const ActionType type = typeOfNewAction();
    auto* row = new ActionTWidget(m_section, type, nextNumber(type));
    addRow(row);
    row->getCurrentAction()->setDefaults();
    if (m_window)
        m_window->updateModifiedState();
    relayout();
    if (m_window)
        m_window->updateHeight();
}

void ProfileActionsController::removeAction()
{
    if (!m_window || !m_window->getCurrentSelectedAction()) {
        QApplication::beep();
        return;
    }
    ActionTWidget* row = selectedRow();
    if (!row)
        return;
    {
        const QScopedValueRollback<bool> removing(m_isRemoving, true);
        m_undoStack->push(new RemoveAction(this, row));
    }
    relayout();
    m_window->updateHeight();
    m_window->setCurrentSelectedAction(nullptr);
    m_window->updateModifiedState();
}

void ProfileActionsController::moveSelectedUp()
{
    moveSelected(-1);
}

void ProfileActionsController::moveSelectedDown()
{
    moveSelected(1);
}

void ProfileActionsController::moveSelected(int step)
{
    ActionTWidget* row = selectedRow();
    if (!row || !m_section || !m_section->isOpen())
        return;
    const QList<ActionTWidget*> rows = rowsOnScreen();
    const int target = rows.indexOf(row) + step;
    if (target < 0 || target >= rows.count())
        return;
    auto* layout = qobject_cast<QBoxLayout*>(row->parentWidget()->layout());
    if (!layout)
        return;
    layout->insertWidget(rows.at(target)->getActionIndex(), row);
    relayout();
    row->parentWidget()->update();
    m_window->updateModifiedState();
    if (QScrollArea* area = m_window->getScrollArea())
        area->ensureWidgetVisible(row);
}
