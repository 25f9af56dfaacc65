#include "ActionTWidget.h"

#include "ActionMimeData.h"
#include "ActionTypeBox.h"
#include "IAction.h"
#include "ItemActionsController.h"
#include "KRXDeletionHold.h"
#include "KRXModal.h"
#include "KRXProfilesWindow.h"
#include "KRXText.h"
#include "ProfileActionsController.h"

#include <QApplication>
#include <QBoxLayout>
#include <QComboBox>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QSignalBlocker>

namespace {

constexpr int kTypeBoxGap = 5;
constexpr qreal kDragOpacity = 0.75;

} // namespace

ActionTWidget::ActionTWidget(QWidget* parent, ActionType type, int number)
    : KRXTwistWidget(parent, QString())
    , m_holder(std::make_unique<ItemActionsController>(this))
    , m_typeBox(new ActionTypeBox(m_titleWidget))
{
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    addTypeBox(type);
    if (IAction* action = m_holder->setAction(type)) {
        m_options = action->widget();
        addWidgetToBody(m_options, 0);
        if (number != 0)
            action->setNumber(number);
    }
}

// The holder goes before the section's body does: its actions own the option widgets.
ActionTWidget::~ActionTWidget()
{
    if (m_list)
        m_list->removeRow(this);
}

/// Marks that an event loop runs inside of a handler of the row. Qt's code around the handler would not
/// survive the row's end, so a row that was disposed of meanwhile goes when the program is out of the
/// handler.
class ActionTWidget::NestedLoop
{
public:
    explicit NestedLoop(ActionTWidget* row)
        : m_row(row)
    {
        ++row->m_nestedLoops;
    }
    ~NestedLoop()
    {
        if (m_row && --m_row->m_nestedLoops == 0 && m_row->m_isDisposed)
            m_row->deleteLater();
    }
    NestedLoop(const NestedLoop&) = delete;
    NestedLoop& operator=(const NestedLoop&) = delete;

private:
    QPointer<ActionTWidget> m_row;
};

void ActionTWidget::dispose()
{
    if (m_nestedLoops == 0) {
        delete this;
        return;
    }
    m_isDisposed = true;
    if (m_list)
        m_list->removeRow(this);
    // Nobody owns it any more, and nobody shall see it.
    setParent(nullptr);
}

void ActionTWidget::addTypeBox(ActionType type)
{
    auto* layout = static_cast<QBoxLayout*>(m_titleWidget->layout());
    layout->addSpacing(kTypeBoxGap);
    layout->addWidget(m_typeBox);
    layout->addStretch();
    {
        const QSignalBlocker blocker(m_typeBox);
        m_typeBox->setCurrentIndex(int(type));
    }
    connect(m_typeBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ActionTWidget::actionTypeChanged);
    if (KRXProfilesWindow* window = getProfilesWindow()) {
        connect(m_typeBox, QOverload<int>::of(&QComboBox::activated), window,
                &KRXProfilesWindow::updateModifiedState);
    }
}

IAction* ActionTWidget::getCurrentAction() const
{
    return m_holder->currentAction();
}

QString ActionTWidget::getActionName() const
{
    return m_typeBox->currentText();
}

int ActionTWidget::getActionIndex() const
{
    const QWidget* parent = parentWidget();
    if (!parent || !parent->layout())
        return -1;
    return parent->layout()->indexOf(const_cast<ActionTWidget*>(this));
}

bool ActionTWidget::showDropIndicator() const
{
    return m_dropPosition != NoDrop;
}

void ActionTWidget::setList(ProfileActionsController* list)
{
    m_list = list;
}

bool ActionTWidget::isIn(const ProfileActionsController* list) const
{
    return m_list == list;
}

void ActionTWidget::actionTypeChanged(int index)
{
    if (index < 0 || index >= kActionTypeCount)
        return;
    const auto type = ActionType(index);
    if (type == ActionType::Consolidate && m_list && m_list->findAction(type, this)) {
        refuseSecondConsolidate();
        return;
    }
    removeWidgetFromBody(m_options);
    IAction* action = m_holder->setAction(type);
    m_holder->makeCurrent(action);
    m_options = action->createWidget();
    addWidgetToBody(m_options, 0);
    if (m_list) {
        action->setNumber(m_list->nextNumber(type, this));
        m_list->orderTabs();
    }
    QCoreApplication::sendPostedEvents(m_options, QEvent::MetaCall);
    updateTWLayout();
    if (KRXProfilesWindow* window = getProfilesWindow())
        window->updateHeight();
}

void ActionTWidget::refuseSecondConsolidate()
{
    {
        const QSignalBlocker blocker(m_typeBox);
        m_typeBox->setCurrentIndex(int(getCurrentAction()->getType()));
    }
    const NestedLoop loop(this);
    KRXModal::showMessageBox(getProfilesWindow(), QMessageBox::Warning, QString(),
                             KRXText::localised("Only a single Consolidate action can be added"),
                             QMessageBox::Ok, QMessageBox::Ok);
}

bool ActionTWidget::event(QEvent* event)
{
    // A box opens its list with Alt and an arrow key, so there these keys do not move the row.
    if (event->type() == QEvent::ShortcutOverride && qobject_cast<QComboBox*>(QApplication::focusWidget())) {
        auto* key = static_cast<QKeyEvent*>(event);
        const bool isArrow = key->key() == Qt::Key_Up || key->key() == Qt::Key_Down;
        if (isArrow && key->modifiers().testFlag(Qt::AltModifier)) {
            event->accept();
            return true;
        }
    }
    return KRXTwistWidget::event(event);
}

void ActionTWidget::mousePressEvent(QMouseEvent* event)
{
    const QPointer<ActionTWidget> self(this);
    if (event->button() == Qt::LeftButton) {
        select();
        const KRXDeletionHold hold(this);
        const NestedLoop loop(this);
        drag(event->pos());
    }
    if (self)
        KRXTwistWidget::mousePressEvent(event);
}

void ActionTWidget::select()
{
    if (KRXProfilesWindow* window = getProfilesWindow()) {
        KRXTwistWidget* previous = window->getCurrentSelectedAction();
        if (previous && previous != this) {
            previous->setSelected(false);
            previous->update();
        }
        window->setCurrentSelectedAction(this);
    }
    setSelected(true);
    update();
}

void ActionTWidget::drag(const QPoint& hotSpot)
{
    // The drag must outlive a row that goes in the middle of it, so the row is not its parent.
    auto* drag = new QDrag(qApp);
    drag->setMimeData(new ActionMimeData(this));
    drag->setPixmap(dragImage());
    drag->setHotSpot(hotSpot);
    drag->exec(Qt::MoveAction);
}

QPixmap ActionTWidget::dragImage()
{
    const QPixmap row = grab();
    QPixmap image(row.size());
    image.setDevicePixelRatio(row.devicePixelRatio());
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(kDragOpacity);
    painter.drawPixmap(0, 0, row);
    painter.drawRect(QRect(QPoint(0, 0), size()).adjusted(0, 0, -1, -1));
    return image;
}

/// The row that a drag carries, when it is another one of the same list; null otherwise.
ActionTWidget* ActionTWidget::draggedSibling(const QMimeData* dragged) const
{
    const auto* payload = qobject_cast<const ActionMimeData*>(dragged);
    ActionTWidget* row = payload ? payload->row() : nullptr;
    if (!row || row == this || !parentWidget() || row->parentWidget() != parentWidget())
        return nullptr;
    return row;
}

void ActionTWidget::dragEnterEvent(QDragEnterEvent* event)
{
    const ActionTWidget* row = draggedSibling(event->mimeData());
    if (!row) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    setDropPosition(row->getActionIndex() < getActionIndex() ? DropAtBottom : DropAtTop);
}

void ActionTWidget::dragLeaveEvent(QDragLeaveEvent*)
{
    if (m_dropPosition != NoDrop)
        setDropPosition(NoDrop);
}

void ActionTWidget::dropEvent(QDropEvent* event)
{
    setDropPosition(NoDrop);
    ActionTWidget* row = draggedSibling(event->mimeData());
    auto* layout = parentWidget() ? qobject_cast<QBoxLayout*>(parentWidget()->layout()) : nullptr;
    if (!row || !layout) {
        event->ignore();
        return;
    }
    // The layout takes the row out of its old place first: one that comes from above ends up below this one.
    layout->insertWidget(getActionIndex(), row);
    event->acceptProposedAction();
    if (m_list)
        m_list->orderTabs();
    parentWidget()->update();
    if (KRXProfilesWindow* window = getProfilesWindow())
        window->updateModifiedState();
}

void ActionTWidget::setDropPosition(DropPosition position)
{
    m_dropPosition = position;
    update();
}
