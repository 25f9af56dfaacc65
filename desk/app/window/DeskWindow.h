#pragma once

#include "DeskApi.h"
#include "ServiceFollower.h"

#include "StandInHost.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>
#include <QTimer>

class ActivityDocks;
class BinsPane;
class DeskPanel;
class DeskSession;
class HelpDialog;
class KRXFolderViewWidget;
class ProjectActions;
class QAction;
class QLabel;
class QProgressBar;
class QScrollArea;
class ServiceLight;
class ServicesDialog;

/// The desk: the folder panel above the project's bins, and a status bar with progress and the service's
/// state.
class KRX_DESK_API DeskWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// \param session must outlive the window.
    /// \param pollInterval milliseconds between two questions to the service.
    DeskWindow(DeskSession& session, const ServiceSupervisor::Settings& service, int pollInterval = 1000,
               QWidget* parent = nullptr);
    ~DeskWindow() override;

    /// Begins to ask for the service, and to start one when none answers.
    void start();
    DeskPanel* panel() const { return m_panel; }
    KRXFolderViewWidget* folderView() const;
    BinsPane* binsPane() const { return m_bins; }
    ServiceSupervisor& supervisor() { return m_service.supervisor(); }
    ProjectActions* projectActions() const { return m_projects; }
    /// What the service answered when it was last asked.
    const ServiceReport& lastReport() const { return m_service.lastReport(); }
    bool isServiceOnline() const { return m_service.isOnline(); }
    /// Reads the folder list from the service again.
    void refreshFolders();
    /// Shows a text in the status bar and keeps it among the messages.
    void showMessage(const QString& text);
    /// Shows a text in the status bar that tells of something that went well.
    void showNews(const QString& text);

    /// Applies one of the two skins to the whole desk.
    void setDarkSkin(bool dark);

signals:
    void serviceOnlineChanged(bool online);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void setHeaderFont();
    void makePanes();
    void makeStatusBar();
    void makeMenus();
    void makeFileMenu();
    void makeViewMenu();
    void makeFoldersMenu();
    void makeServiceMenu();
    void makeHelpMenu();

    void setPaneHeight(int height);
    void followVolumes();
    void followFocus();
    void followRows();

    void linkMedia();
    void openServicesDialog();
    void showHelp(const QString& topic);
    void about();

    void showAbsence(const QString& text);
    void serviceCameOrWent(bool online);
    void serviceReported(const ServiceReport& report);
    void showProgress(const StandInHost::ProgressStep& step);
    void updateTitle();

    DeskSession& m_session;
    int m_pollInterval;
    ServiceFollower m_service;
    ProjectActions* m_projects;
    DeskPanel* m_panel = nullptr;
    QScrollArea* m_pane = nullptr;
    BinsPane* m_bins = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_progressText = nullptr;
    ServiceLight* m_serviceState = nullptr;
    ActivityDocks* m_docks = nullptr;
    QAction* m_linkMedia = nullptr;
    QAction* m_lightSkin = nullptr;
    QAction* m_darkSkin = nullptr;
    QPointer<ServicesDialog> m_services;
    QPointer<HelpDialog> m_help;
    QElapsedTimer m_progressShown;
    QStringList m_readyFolders; ///< with clips on offer, as last told
    QTimer m_readySoon;
};
