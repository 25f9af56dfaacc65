#pragma once

#include "RealInput.h"
#include "TourRunner.h"

#include <QMessageBox>
#include <QString>
#include <QStringList>

#include <functional>

class DeskProject;
class DeskSession;
class DeskWindow;
class KRXFolderViewWidget;
class KRXTwistWidget;
class QAbstractButton;
class QComboBox;
class QTreeWidgetItem;
class QWidget;

/// What the tour's steps have at hand: the desk, its folders on disk, and short ways to point, look and ask.
class TourStage
{
public:
    /// \param base an empty folder for everything that the tour makes.
    TourStage(DeskWindow& window, DeskSession& session, TourRunner& runner, RealInput& input,
              const QString& base);

    DeskWindow& window() { return m_window; }
    DeskSession& session() { return m_session; }
    TourRunner& runner() { return m_runner; }
    RealInput& input() { return m_input; }

    QString mediaFolder() const { return m_media; }
    /// A folder that is watched in the tour; it exists.
    QString watchedFolder(const QString& name) const;
    /// The only volume that media can be written to in the tour, as people see it.
    static QString driveName() { return QStringLiteral("Drive"); }
    /// Where it is; the folder exists.
    QString drive() const { return watchedFolder(driveName()); }
    /// Copies one media file into a folder, under another name when one is given.
    void drop(const QString& fileName, const QString& folder, const QString& newName = QString());

    /// Appends a step. \param after what must come of it. \param picture its picture's name; none when empty.
    void add(const QString& name, const std::function<void()>& action, const TourStep::Condition& after,
             const QString& picture = QString());
    void add(const TourStep& step) { m_runner.add(step); }
    /// Appends the steps that open a menu of the desk and choose an item; both texts with their ampersands.
    /// \param picture that of the open menu; none when empty.
    void addMenuChoice(const QString& menu, const QString& item, const QString& picture = QString());

    // --- Finding -----------------------------------------------------------------------------------------

    /// The visible widget of that object name in the window that is on top; null when there is none.
    QWidget* widget(const char* objectName) const;
    /// The window that takes input now: the modal dialog, else the desk.
    QWidget* topWindow() const;
    KRXFolderViewWidget* folders() const;
    /// The section with that title in the window on top; null when there is none to be seen.
    KRXTwistWidget* section(const QString& title) const;
    /// The visible button with that text in the window on top.
    QAbstractButton* button(const QString& text) const;
    /// The row of the folder at \a path; null when it is not listed.
    QTreeWidgetItem* row(const QString& path) const;
    /// Names of the clips in the bin of that name, sorted; empty when there is no such bin.
    QStringList clipsIn(const QString& binName) const;

    // --- Doing -------------------------------------------------------------------------------------------

    void click(const QWidget* target);
    /// Scrolls a widget into view and clicks on it.
    void clickInside(QWidget* target);
    /// Clicks on a button of the message box that is open.
    void answer(QMessageBox::StandardButton button);
    /// Clicks on an item of the drop-down list that is open.
    void clickPopupItem(const char* boxName, const QString& text);
    /// The same; \a box may be null, which fails.
    void clickPopupItem(const QComboBox* box, const QString& text);
    void clickCell(QTreeWidgetItem* row, int column);
    void clickCheckBox(QTreeWidgetItem* row, int column);
    /// Clicks on a menu's title in the menu bar.
    void clickMenu(const QString& title);
    /// Clicks on an item of the menu that is open.
    void clickMenuItem(const QString& text);

    // --- Conditions: empty when they hold --------------------------------------------------------------

    TourStep::Condition menuIsOpen() const;
    TourStep::Condition popupIsOpen() const;
    /// No dialog is open.
    TourStep::Condition deskIsOnTop() const;
    /// A message box is open whose text begins so.
    TourStep::Condition boxSays(const QString& beginning) const;
    TourStep::Condition boxShows(const char* boxName, const QString& text) const;
    TourStep::Condition widgetIsThere(const char* objectName) const;
    TourStep::Condition rowState(const QString& path, int state) const;
    TourStep::Condition serviceIsOnline(bool online) const;
    /// Asks the service itself.
    TourStep::Condition serviceHasFolder(const QString& path, bool enabled) const;
    TourStep::Condition serviceHasProfile(const QString& path, const QString& profileName) const;
    TourStep::Condition projectFileHolds(int clips) const;
    TourStep::Condition outputsWaiting(const QString& path, int count) const;
    TourStep::Condition binHolds(const QString& binName, const QStringList& clips) const;

private:
    DeskWindow& m_window;
    DeskSession& m_session;
    DeskProject& m_project;
    TourRunner& m_runner;
    RealInput& m_input;
    QString m_base;
    QString m_media;
};
