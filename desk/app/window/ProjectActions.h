#pragma once

#include <QObject>
#include <QString>

class DeskSession;
class QMenu;
class QWidget;

/// What a person does with projects: the acts of the File menu and the questions that go with them.
class ProjectActions : public QObject
{
    Q_OBJECT

public:
    /// \param session must outlive this object. \param window what dialogs stand above; the owner.
    ProjectActions(DeskSession& session, QWidget* window);

    void addTo(QMenu* menu);
    /// Saves before the window closes. \return whether it may close.
    bool mayClose();
    /// Opens a project in the place of the present one. \return whether it is open.
    bool open(const QString& path);
    /// Starts an empty project in the place of the present one.
    bool create(const QString& path);
    bool saveAs(const QString& path);
    /// Saves on a person's wish, and asks when the file is not the one that was opened.
    void save();

signals:
    /// Something that a person should know.
    void message(const QString& text);
    /// The project was saved because somebody wished it.
    void saved(const QString& text);

private:
    void chooseNew();
    void chooseOpen();
    void chooseSaveAs();
    /// Saves the present project before another takes its place, or asks whether it may go unsaved.
    bool letGo();
    /// Saves. \return false with a text in \a error.
    bool saveAsking(QString& error);
    void askAboutConflict();
    void tellAccess();
    void showError(const QString& text);
    bool ask(const QString& title, const QString& text);

    DeskSession& m_session;
    QWidget* m_window;
    bool m_isAsking = false;
};
