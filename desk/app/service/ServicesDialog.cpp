#include "ServicesDialog.h"

#include "PlainText.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>

#include <algorithm>

namespace {

enum JobColumn { FileColumn, StateColumn, PercentColumn, JobColumnCount };

constexpr int kWidth = 560;
constexpr int kHeight = 460;

} // namespace

ServicesDialog::ServicesDialog(QWidget* parent)
    : QDialog(parent)
    , m_state(new QLabel(this))
    , m_start(new QPushButton(tr("Start"), this))
    , m_stop(new QPushButton(tr("Stop"), this))
{
    setObjectName(QStringLiteral("servicesDialog"));
    setWindowTitle(tr("Services Manager"));
    m_start->setObjectName(QStringLiteral("startServiceBtn"));
    m_stop->setObjectName(QStringLiteral("stopServiceBtn"));
    auto* top = new QHBoxLayout;
    top->addWidget(m_state, 1);
    top->addWidget(m_start);
    top->addWidget(m_stop);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(makeJobsPart(), 2);
    layout->addWidget(makeErrorsPart(), 1);
    layout->addWidget(buttons);
    resize(kWidth, kHeight);

    connect(m_start, &QPushButton::clicked, this, &ServicesDialog::startWanted);
    connect(m_stop, &QPushButton::clicked, this, &ServicesDialog::stopWanted);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    showReport(ServiceReport(), false);
}

QWidget* ServicesDialog::makeJobsPart()
{
    auto* part = new QGroupBox(tr("Jobs"), this);
    m_jobs = new QTableWidget(0, JobColumnCount, part);
    m_jobs->setObjectName(QStringLiteral("jobsTable"));
    m_jobs->setHorizontalHeaderLabels({tr("File"), tr("State"), tr("Done")});
    m_jobs->horizontalHeader()->setSectionResizeMode(FileColumn, QHeaderView::Stretch);
    m_jobs->verticalHeader()->hide();
    m_jobs->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_jobs->setSelectionMode(QAbstractItemView::SingleSelection);
    m_jobs->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_cancel = new QPushButton(tr("Cancel All"), part);
    m_retry = new QPushButton(tr("Try All Again"), part);
    m_delete = new QPushButton(tr("Remove"), part);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* button : {m_cancel, m_retry, m_delete})
        buttons->addWidget(button);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(part);
    layout->addWidget(m_jobs);
    layout->addLayout(buttons);
    connect(m_cancel, &QPushButton::clicked, this, &ServicesDialog::cancelJobsWanted);
    connect(m_retry, &QPushButton::clicked, this, &ServicesDialog::retryJobsWanted);
    connect(m_delete, &QPushButton::clicked, this, [this] { emit deleteJobWanted(selectedJob()); });
    connect(m_jobs, &QTableWidget::itemSelectionChanged, this,
            [this] { m_delete->setEnabled(!selectedJob().isEmpty()); });
    return part;
}

QWidget* ServicesDialog::makeErrorsPart()
{
    auto* part = new QGroupBox(tr("Messages of the service"), this);
    m_errors = new QListWidget(part);
    m_errors->setObjectName(QStringLiteral("errorsList"));
    m_errors->setWordWrap(true);
    m_clear = new QPushButton(tr("Clear"), part);
    m_clear->setObjectName(QStringLiteral("clearErrorsBtn"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_clear);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(part);
    layout->addWidget(m_errors);
    layout->addLayout(buttons);
    connect(m_clear, &QPushButton::clicked, this, &ServicesDialog::clearErrorsWanted);
    return part;
}

void ServicesDialog::showReport(const ServiceReport& report, bool ours)
{
    if (!report.online)
        m_state->setText(tr("The folder service is not running."));
    else
        m_state->setText(report.active ? tr("The folder service is working.")
                                       : tr("The folder service is ready."));
    m_start->setEnabled(!report.online && !ours);
    m_stop->setEnabled(ours);
    m_stop->setToolTip(report.online && !ours ? tr("The service was started by another program.")
                                              : QString());
    showJobs(report.jobs);
    const bool unfinished =
        std::any_of(report.jobs.begin(), report.jobs.end(), [](const DeskJob& job) { return !job.complete; });
    const bool ended = std::any_of(report.jobs.begin(), report.jobs.end(),
                                   [](const DeskJob& job) { return job.complete && !job.isCompleted(); });
    m_cancel->setEnabled(unfinished);
    m_retry->setEnabled(ended);
    m_errors->clear();
    m_errors->addItems(report.errors);
    m_clear->setEnabled(!report.errors.isEmpty());
}

void ServicesDialog::showJobs(const QVector<DeskJob>& jobs)
{
    const QString selected = selectedJob();
    m_jobs->setRowCount(jobs.size());
    m_jobs->clearSelection();
    for (int row = 0; row < jobs.size(); ++row) {
        const DeskJob& job = jobs.at(row);
        auto* file = new QTableWidgetItem(QFileInfo(job.path).fileName());
        file->setData(Qt::UserRole, job.id);
        file->setToolTip(plainToolTip(job.path));
        m_jobs->setItem(row, FileColumn, file);
        m_jobs->setItem(row, StateColumn, new QTableWidgetItem(job.state));
        m_jobs->setItem(row, PercentColumn, new QTableWidgetItem(tr("%1 %").arg(job.percent)));
        if (job.id == selected)
            m_jobs->selectRow(row);
    }
    m_delete->setEnabled(!selectedJob().isEmpty());
}

QString ServicesDialog::selectedJob() const
{
    const QList<QTableWidgetItem*> items = m_jobs->selectedItems();
    return items.isEmpty() ? QString()
                           : m_jobs->item(items.first()->row(), FileColumn)->data(Qt::UserRole).toString();
}
