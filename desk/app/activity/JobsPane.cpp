#include "JobsPane.h"

#include "ClipTable.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kBarMargin = 3;
constexpr int kSearchWidth = 180;

bool canBeCancelled(ClipState state)
{
    return state == ClipState::Waiting || state == ClipState::Acting;
}

bool canBeTriedAgain(ClipState state)
{
    return state == ClipState::Failed || state == ClipState::Cancelled;
}

} // namespace

void ProgressDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const int percent = index.data(ClipTable::PercentRole).toInt();
    if (percent < 0)
        return;
    QStyleOptionProgressBar bar;
    bar.rect = option.rect.adjusted(kBarMargin, kBarMargin, -kBarMargin, -kBarMargin);
    bar.palette = option.palette;
    bar.state = option.state | QStyle::State_Horizontal;
    bar.minimum = 0;
    bar.maximum = 100;
    bar.progress = percent;
    bar.text = tr("%1 %").arg(percent);
    bar.textVisible = true;
    bar.textAlignment = Qt::AlignCenter;
    const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ProgressBar, &bar, painter, option.widget);
}

JobsPane::JobsPane(ClipTable& clips, QWidget* parent)
    : QWidget(parent)
    , m_clips(clips)
    , m_filter(new ClipFilter(clips, this))
    , m_table(new QTableView(this))
{
    setObjectName(QStringLiteral("jobsPane"));
    makeActions();
    makeTable();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeBar());
    layout->addWidget(m_table);
    // Once for all that changed together: the filter tells of thousands one by one.
    connect(&clips, &ClipTable::applied, this, &JobsPane::countRows);
    countRows();
}

void JobsPane::makeActions()
{
    const auto add = [this](const char* name, const QString& text, auto function) {
        auto* action = new QAction(text, this);
        action->setObjectName(QString::fromLatin1(name));
        connect(action, &QAction::triggered, this, function);
        return action;
    };
    m_cancel = add("cancelJobs", tr("Cancel"), [this] { emit cancelWanted(jobsOf(selected(), false)); });
    m_retry = add("retryJobs", tr("Try Again"), [this] { emit retryWanted(jobsOf(selected(), true)); });
    m_retryAll = add("retryAllJobs", tr("Try All Failed Again"), [this] { emit retryWanted(allFailed()); });
    m_show = add("showClip", tr("Show in File Manager"), [this] { showInFileManager(); });
    m_copy = add("copyReason", tr("Copy Reason"), [this] { copyReason(); });
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_clear = add("clearFinished", tr("Clear Finished"), [this] {
        m_filter->clearFinished();
        countRows();
    });
    addAction(m_copy);
}

QWidget* JobsPane::makeBar()
{
    auto* bar = new QWidget(this);
    m_search = new QLineEdit(bar);
    m_search->setObjectName(QStringLiteral("searchClips"));
    m_search->setPlaceholderText(tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_search->setMaximumWidth(kSearchWidth);
    m_kind = new QComboBox(bar);
    m_kind->setObjectName(QStringLiteral("kindOfClips"));
    m_kind->addItems({tr("All clips"), tr("Being worked on"), tr("Not ready"), tr("Failed"), tr("Finished")});
    m_count = new QLabel(bar);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_search);
    layout->addWidget(m_kind);
    layout->addWidget(m_count);
    layout->addStretch();
    for (QAction* action : {m_cancel, m_retry, m_retryAll, m_show, m_clear}) {
        auto* button = new QToolButton(bar);
        button->setDefaultAction(action);
        layout->addWidget(button);
    }
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_filter->setText(text);
        countRows();
    });
    connect(m_kind, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int kind) {
        m_filter->setKind(static_cast<ClipFilter::Kind>(kind));
        countRows();
    });
    return bar;
}

void JobsPane::makeTable()
{
    m_table->setObjectName(QStringLiteral("clipsTable"));
    m_table->setModel(m_filter);
    m_table->setItemDelegateForColumn(ClipTable::Progress, new ProgressDelegate(m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setTextElideMode(Qt::ElideMiddle);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    // Rows of one height are not measured one by one.
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 2 * kBarMargin + 2);
    m_table->setSortingEnabled(true);
    // The newest on top.
    m_table->sortByColumn(ClipTable::Started, Qt::DescendingOrder);
    constexpr int widths[ClipTable::Columns] = {150, 100, 110, 90, 90, 80, 240, 78, 56};
    for (int column = 0; column < ClipTable::Columns; ++column)
        m_table->setColumnWidth(column, widths[column]);
    m_table->horizontalHeader()->setSectionResizeMode(ClipTable::Reason, QHeaderView::Stretch);
    m_table->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_table->addActions({m_cancel, m_retry, m_retryAll, m_show, m_copy, m_clear});
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &JobsPane::updateActions);
}

QModelIndexList JobsPane::selected() const
{
    return m_table->selectionModel()->selectedRows();
}

QStringList JobsPane::jobsOf(const QModelIndexList& rows, bool isForRetry) const
{
    QStringList jobs;
    for (const QModelIndex& row : rows) {
        const auto state = static_cast<ClipState>(row.data(ClipTable::StateRole).toInt());
        const QString job = row.data(ClipTable::JobRole).toString();
        const bool fits = isForRetry ? canBeTriedAgain(state) : canBeCancelled(state);
        if (fits && !job.isEmpty())
            jobs << job;
    }
    jobs.removeDuplicates();
    return jobs;
}

/// What somebody cancelled did not fail: only who chooses it has it done again.
QStringList JobsPane::allFailed() const
{
    QStringList jobs;
    for (const ServiceClip& clip : m_clips.clips()) {
        if (clip.state == ClipState::Failed && !clip.job().isEmpty())
            jobs << clip.job();
    }
    jobs.removeDuplicates();
    return jobs;
}

void JobsPane::updateActions()
{
    const QModelIndexList rows = selected();
    const auto any = [&](auto fits) { return std::any_of(rows.begin(), rows.end(), fits); };
    const auto stateOf = [](const QModelIndex& row) {
        return static_cast<ClipState>(row.data(ClipTable::StateRole).toInt());
    };
    const auto hasJob = [](const QModelIndex& row) {
        return !row.data(ClipTable::JobRole).toString().isEmpty();
    };
    m_cancel->setEnabled(
        any([&](const QModelIndex& row) { return hasJob(row) && canBeCancelled(stateOf(row)); }));
    m_retry->setEnabled(
        any([&](const QModelIndex& row) { return hasJob(row) && canBeTriedAgain(stateOf(row)); }));
    const auto& clips = m_clips.clips();
    m_retryAll->setEnabled(std::any_of(clips.begin(), clips.end(), [](const ServiceClip& clip) {
        return clip.state == ClipState::Failed && !clip.job().isEmpty();
    }));
    m_show->setEnabled(rows.size() == 1);
    m_copy->setEnabled(!rows.isEmpty());
}

void JobsPane::countRows()
{
    const int shown = m_filter->rowCount();
    const int all = m_filter->countUncleared();
    QString text = all == 1 ? tr("1 clip") : tr("%1 clips").arg(all);
    if (shown != all)
        text = tr("%1 of %2 clips").arg(shown).arg(all);
    m_count->setText(text);
    updateActions();
}

void JobsPane::showInFileManager()
{
    const QModelIndexList rows = selected();
    if (rows.size() != 1)
        return;
    // The clip and its folder may have gone: what is left around them is shown.
    QString folder = rows.first().data(ClipTable::PathRole).toString();
    do
        folder = QFileInfo(folder).absolutePath();
    while (!QFileInfo(folder).isDir() && folder != QLatin1String("/"));
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

void JobsPane::copyReason()
{
    QStringList lines;
    for (const QModelIndex& row : selected())
        lines << row.data(ClipTable::PathRole).toString() + QLatin1String(": ") +
                     row.data(ClipTable::ReasonRole).toString();
    QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}
