#pragma once

#include "ClipFeed.h"
#include "ClipTable.h"
#include "DeskApi.h"
#include "MessageList.h"
#include "Notifier.h"
#include "ServiceReport.h"

#include <QHash>
#include <QLabel>
#include <QObject>
#include <QPointer>

class JobsPane;
class NotReadyPane;
class QAction;
class QDockWidget;
class QMainWindow;
class QMenu;
class QPlainTextEdit;
class QTableView;
class ServiceFollower;

/// A text in the status bar that can be clicked, or reached and pressed by key.
class StatusLink : public QLabel
{
    Q_OBJECT

public:
    explicit StatusLink(QWidget* parent = nullptr);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

/// The desk's docks about the service's work: jobs, what is not ready, messages. Follows the service by a
/// feed of its own.
class KRX_DESK_API ActivityDocks : public QObject
{
    Q_OBJECT

public:
    /// \param window gets the docks, and the links in its status bar. \param service is followed and carries
    /// the commands; it must outlive the docks.
    ActivityDocks(QMainWindow& window, ServiceFollower& service);

    /// Puts the actions that show and hide the docks into \a menu.
    void addTo(QMenu& menu) const;
    /// The desk says something: it goes into the list of messages, and into the log.
    void addMessage(const QString& text, MessageList::Holds holds = MessageList::UntilItsClipIsReady);
    /// Something went well: it goes into the log alone.
    void addNews(const QString& text);
    /// A line of the service's log.
    void addLine(const QString& line);
    const ClipTable& clips() const { return m_clips; }
    Notifier& notifier() { return m_notifier; }

private:
    QDockWidget* addDock(const char* name, const QString& title, QWidget* content);
    QWidget* makeMessages();
    void showReport(const ServiceReport& report);
    void clipsChanged(const ClipNews& news);
    void serviceChanged(const QStringList& topics);
    static ServiceNames namesOfPanel();
    void setNames(const ServiceNames& names);
    void show(QDockWidget* dock);
    void showCounts();

    QMainWindow& m_window;
    ServiceFollower& m_service;
    ClipFeed m_feed;
    ClipTable m_clips;
    MessageList m_messages;
    Notifier m_notifier;
    bool m_listens = false;
    bool m_knowsClips = false;          ///< as they were when the feed began
    bool m_hearsNames = false;          ///< of folders and profiles, from the service itself
    QStringList m_errors;               ///< of the service, as last told
    QHash<QString, ClipState> m_states; ///< of the clips, to see what became ready or failed
    JobsPane* m_jobs;
    NotReadyPane* m_notReady;
    QPlainTextEdit* m_log = nullptr;
    QDockWidget* m_jobsDock;
    QDockWidget* m_notReadyDock;
    QDockWidget* m_messagesDock;
    StatusLink* m_working;
    StatusLink* m_complaints;
};
