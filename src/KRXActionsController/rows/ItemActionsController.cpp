#include "ItemActionsController.h"

#include "ActionTWidget.h"
#include "CodecBox.h"
#include "ConsolidateAction.h"
#include "CopyMoveAction.h"
#include "CopyToPathWidget.h"
#include "KRXProfilesWindow.h"
#include "SelectDriveButton.h"
#include "TranscodeAction.h"

#include <QCheckBox>
#include <QComboBox>
#include <QWidget>

namespace {

constexpr int kNoNumber = 0;

std::unique_ptr<IAction> makeAction(ActionType type)
{
    switch (type) {
    case ActionType::Copy:
        return std::make_unique<CopyMoveAction>(kNoNumber);
    case ActionType::Consolidate:
        return std::make_unique<ConsolidateAction>(kNoNumber);
    case ActionType::Transcode:
        return std::make_unique<TranscodeAction>(kNoNumber);
    case ActionType::Unknown:
        break;
    }
    return nullptr;
}

} // namespace

ItemActionsController::ItemActionsController(ActionTWidget* row)
    : m_row(row)
{
}

ItemActionsController::~ItemActionsController() = default;

IAction* ItemActionsController::setAction(ActionType type)
{
    if (m_current && m_current->getType() == type)
        return m_current;
    if (IAction* made = findMade(type))
        return made;
    std::unique_ptr<IAction> action = makeAction(type);
    if (!action)
        return nullptr;
    m_current = action.get();
    m_actions.push_back(std::move(action));
    m_current->createWidget();
    connectWidget(m_current);
    m_current->setDefaults();
    return m_current;
}

void ItemActionsController::makeCurrent(IAction* action)
{
    m_current = action;
}

IAction* ItemActionsController::findMade(ActionType type) const
{
    for (const std::unique_ptr<IAction>& action : m_actions) {
        if (action->getType() == type)
            return action.get();
    }
    return nullptr;
}

void ItemActionsController::connectWidget(IAction* action)
{
    KRXProfilesWindow* window = m_row->getProfilesWindow();
    if (!window)
        return;
    const QWidget* options = action->widget();
    for (const QCheckBox* check : options->findChildren<QCheckBox*>())
        QObject::connect(check, &QCheckBox::pressed, window, &KRXProfilesWindow::updateModifiedState);
    for (const QComboBox* box : options->findChildren<QComboBox*>()) {
        QObject::connect(box, QOverload<int>::of(&QComboBox::activated), window,
                         &KRXProfilesWindow::updateModifiedState);
    }
    // A folder that was chosen is unsaved work as well, and so is the choice of one drive or two.
    for (const CopyToPathWidget* folder : options->findChildren<CopyToPathWidget*>())
        QObject::connect(folder, &CopyToPathWidget::pathChosen, window,
                         &KRXProfilesWindow::updateModifiedState);
    for (const SelectDriveButton* drives : options->findChildren<SelectDriveButton*>())
        QObject::connect(drives, &SelectDriveButton::clicked, window,
                         &KRXProfilesWindow::updateModifiedState);
    for (const CodecBox* codec : options->findChildren<CodecBox*>())
        window->fillListsOf(codec);
}
