#include "ProjectActions.h"

#include "DeskSession.h"

#include "HostQtShell.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>

namespace {

const QLatin1String kSuffix(".krxproject");

QString projectFilter()
{
    return ProjectActions::tr("KRX Desk projects (*.krxproject)");
}

QString withSuffix(const QString& path)
{
    return path.endsWith(kSuffix) ? path : QString(path + kSuffix);
}

} // namespace

ProjectActions::ProjectActions(DeskSession& session, QWidget* window)
    : QObject(window)
    , m_session(session)
    , m_window(window)
{
    // Both are told in the middle of other work, such as an acquisition.
    connect(&m_session, &DeskSession::conflictFound, this, &ProjectActions::askAboutConflict,
            Qt::QueuedConnection);
    connect(&m_session, &DeskSession::accessChanged, this, &ProjectActions::tellAccess, Qt::QueuedConnection);
    if (m_session.isReadOnly())
        QMetaObject::invokeMethod(this, &ProjectActions::tellAccess, Qt::QueuedConnection);
}

void ProjectActions::addTo(QMenu* menu)
{
    menu->addAction(tr("&New Project..."), this, &ProjectActions::chooseNew, QKeySequence::New);
    menu->addAction(tr("&Open Project..."), this, &ProjectActions::chooseOpen, QKeySequence::Open);
    menu->addAction(tr("&Save Project"), this, &ProjectActions::save, QKeySequence::Save);
    menu->addAction(tr("Save Project &As..."), this, &ProjectActions::chooseSaveAs, QKeySequence::SaveAs);
}

bool ProjectActions::mayClose()
{
    QString error;
    return saveAsking(error) || ask(tr("Project not saved"), tr("%1\nQuit all the same?").arg(error));
}

void ProjectActions::chooseNew()
{
    const QString path = QFileDialog::getSaveFileName(
        m_window, tr("New Project"), QFileInfo(m_session.project().path()).path(), projectFilter());
    if (!path.isEmpty())
        create(withSuffix(path));
}

void ProjectActions::chooseOpen()
{
    const QString path = QFileDialog::getOpenFileName(
        m_window, tr("Open Project"), QFileInfo(m_session.project().path()).path(), projectFilter());
    if (!path.isEmpty())
        open(path);
}

void ProjectActions::chooseSaveAs()
{
    const QString path = QFileDialog::getSaveFileName(m_window, tr("Save Project As"),
                                                      m_session.project().path(), projectFilter());
    if (!path.isEmpty())
        saveAs(withSuffix(path));
}

bool ProjectActions::create(const QString& path)
{
    QString error;
    if (!letGo())
        return false;
    if (m_session.create(path, error))
        return true;
    showError(error);
    return false;
}

bool ProjectActions::open(const QString& path)
{
    QString error;
    if (!letGo())
        return false;
    if (m_session.open(path, error))
        return true;
    showError(error);
    return false;
}

bool ProjectActions::saveAs(const QString& path)
{
    QString error;
    if (m_session.saveAs(path, error))
        return true;
    showError(error);
    return false;
}

void ProjectActions::save()
{
    QString error;
    const bool isSaved = m_session.conflict().isEmpty() ? m_session.save(error) : saveAsking(error);
    if (isSaved)
        emit saved(tr("%1 is saved").arg(m_session.project().path()));
    else
        showError(error);
}

bool ProjectActions::letGo()
{
    QString error;
    return saveAsking(error) || ask(tr("Project not saved"), tr("%1\nGo on without saving it?").arg(error));
}

bool ProjectActions::saveAsking(QString& error)
{
    if (m_session.finish(error))
        return true;
    const QString conflict = m_session.conflict();
    if (conflict.isEmpty() || m_session.isReadOnly())
        return false;
    return ask(tr("Project file replaced"), tr("%1\nPut this desk's project in its place?").arg(conflict)) &&
           m_session.replace(error) && m_session.finish(error);
}

void ProjectActions::askAboutConflict()
{
    // Somebody is being asked already, about this or about something that comes first.
    if (m_isAsking || m_session.conflict().isEmpty())
        return;
    QString error;
    if (!saveAsking(error))
        emit message(error);
}

void ProjectActions::tellAccess()
{
    if (!m_session.isReadOnly())
        return;
    const QString text =
        tr("The project %1 is open for reading only: %2.\nClips can be acquired into a copy of "
           "it: File, Save Project As.")
            .arg(m_session.project().path(), m_session.readOnlyReason());
    emit message(text);
    HostQtShell::showManagedMessageBox(m_window, QMessageBox::Information, tr("Project is in use"), text,
                                       QMessageBox::Ok, QMessageBox::Ok);
}

void ProjectActions::showError(const QString& text)
{
    HostQtShell::showManagedMessageBox(m_window, QMessageBox::Critical, tr("Error occurred"), text,
                                       QMessageBox::Ok, QMessageBox::Ok);
}

bool ProjectActions::ask(const QString& title, const QString& text)
{
    m_isAsking = true;
    const auto answer = HostQtShell::showManagedMessageBox(
        m_window, QMessageBox::Warning, title, text, QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    m_isAsking = false;
    return answer == QMessageBox::Yes;
}
