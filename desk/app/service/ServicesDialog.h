#pragma once

#include "ServiceReport.h"

#include <QDialog>

class QLabel;
class QListWidget;
class QPushButton;
class QTableWidget;

/// The services manager: how the folder service is, what it complains about and which jobs it has, with what
/// can be done about each. It only asks; the desk acts.
class ServicesDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ServicesDialog(QWidget* parent);

    /// \param ours whether the desk started the service that runs, and so may stop it.
    void showReport(const ServiceReport& report, bool ours);

signals:
    void startWanted();
    void stopWanted();
    void clearErrorsWanted();
    void cancelJobsWanted();
    void retryJobsWanted();
    void deleteJobWanted(const QString& jobId);

private:
    QWidget* makeJobsPart();
    QWidget* makeErrorsPart();
    void showJobs(const QVector<DeskJob>& jobs);
    QString selectedJob() const;

    QLabel* m_state;
    QPushButton* m_start;
    QPushButton* m_stop;
    QTableWidget* m_jobs = nullptr;
    QPushButton* m_cancel = nullptr;
    QPushButton* m_retry = nullptr;
    QPushButton* m_delete = nullptr;
    QListWidget* m_errors = nullptr;
    QPushButton* m_clear = nullptr;
};
