#include "DeskPanel.h"

#include "DeskProfilesWindow.h"

#include <QFontMetrics>
#include <QLayout>
#include <QPushButton>

namespace {

constexpr int kButtonPadding = 8;
constexpr double kSmallestFont = 6;
constexpr double kFontStep = 0.5;

} // namespace

DeskPanel::DeskPanel(QWidget* parent, void (*callback)(const QString&))
    : KRXWindow(parent, callback)
{
    setObjectName(QStringLiteral("krxPanel"));
    // The panel keeps to its content's size; in the desk it takes the whole width of its pane.
    layout()->setSizeConstraint(QLayout::SetMinimumSize);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Maximum);
    fitEditorButton();
    // It counts the service as running until told otherwise, and would ask it at once when it is shown.
    updateKRXServiceOnlineState(false);
}

void DeskPanel::fitEditorButton()
{
    // The button's width is fixed and the text is as long as its language makes it.
    auto* button = findChild<QPushButton*>(QStringLiteral("profileEditBtn"));
    if (!button)
        return;
    QFont font = button->font();
    const auto isTooWide = [&] {
        return QFontMetrics(font).horizontalAdvance(button->text()) + kButtonPadding > button->width();
    };
    while (isTooWide() && font.pointSizeF() > kSmallestFont)
        font.setPointSizeF(font.pointSizeF() - kFontStep);
    button->setFont(font);
}

void DeskPanel::Show()
{
    show();
    raise();
    emit heightWanted(neededHeight());
}

void DeskPanel::initProfilesWindow()
{
    editor();
    KRXWindow::initProfilesWindow();
}

void DeskPanel::openServicesDialog()
{
    emit servicesDialogWanted();
}

KRXProfilesWindow* DeskPanel::editor()
{
    if (!profilesWindow()) {
        auto* window = new DeskProfilesWindow(this);
        connect(window, &DeskProfilesWindow::profilesChanged, this, &DeskPanel::refreshFolders);
        setProfilesWindow(window);
    }
    return profilesWindow();
}

int DeskPanel::neededHeight() const
{
    return layout()->totalSizeHint().height();
}

void DeskPanel::setNewHeight(int height)
{
    emit heightWanted(height);
}
