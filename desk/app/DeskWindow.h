#pragma once

#include "ServiceMonitor.h"
#include "ServiceSupervisor.h"

#include "StandInHost.h"

#include <QMainWindow>

class BinsPane;
class ClipIntake;
class DeskProject;
class FolderPane;
class KRXFolderViewWidget;
class QAction;
class QLabel;
class QPlainTextEdit;
class QProgressBar;

/// The desk: the folder panel above the project's bins, and a status bar with progress and the service's state.
class DeskWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// \param project must outlive the window.
    DeskWindow(DeskProject& project, const ServiceSupervisor::Settings& service, QWidget* parent = nullptr);
    ~DeskWindow() override;

    /// Begins to ask for the service, and to start one when none answers.
    void start();
    KRXFolderViewWidget* folderView() const;
    BinsPane* binsPane() const { return m_bins; }
    ServiceSupervisor& supervisor() { return m_supervisor; }
    ClipIntake& intake() { return *m_intake; }
    bool isServiceOnline() const { return m_online; }
    /// Reads the folder list from the service again.
    void refreshFolders();
    /// Shows a text in the status bar and keeps it among the messages.
    void showMessage(const QString& text);

    /// Applies one of the two skins to the whole desk.
    void setDarkSkin(bool dark);

signals:
    void serviceOnlineChanged(bool online);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void setHeaderFont();
    void makePanes();
    void makeStatusBar();
    void makeMessagesDock();
    void makeMenus();
    void makeFileMenu();
    void makeViewMenu();
    void makeServiceMenu();
    void makeHelpMenu();

    void newProject();
    void openProject();
    void saveProject();
    void saveProjectAs();
    bool keepCurrentProject();
    void showError(const QString& text);
    void about();

    void serviceReported(const ServiceReport& report);
    void showServiceState(const ServiceReport& report);
    void showProgress(const StandInHost::ProgressStep& step);
    void updateTitle();

    DeskProject& m_project;
    ServiceMonitor m_monitor;
    ServiceSupervisor m_supervisor;
    ClipIntake* m_intake;
    FolderPane* m_folders = nullptr;
    BinsPane* m_bins = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_progressText = nullptr;
    QLabel* m_serviceState = nullptr;
    QPlainTextEdit* m_messages = nullptr;
    QDockWidget* m_messagesDock = nullptr;
    QAction* m_lightSkin = nullptr;
    QAction* m_darkSkin = nullptr;
    QStringList m_serviceErrors;
    bool m_online = false;
    int m_unanswered = 0;
};
