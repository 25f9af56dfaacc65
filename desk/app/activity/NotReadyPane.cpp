#include "NotReadyPane.h"

#include "ClipTable.h"
#include "PlainText.h"

#include <QHeaderView>
#include <QLocale>
#include <QMap>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

enum Column { NameColumn, StateColumn, ReasonColumn, Columns };
constexpr int kOwnerRole = Qt::UserRole;
constexpr int kSoon = 200;       ///< milliseconds between news and the rows that show them
constexpr int kCountdown = 1000; ///< the same while seconds are counted
constexpr int kInToolTip = 10;
constexpr int kMostRows = 1000; ///< below one folder; the others are counted

} // namespace

NotReadyPane::NotReadyPane(const ClipTable& clips, QWidget* parent)
    : QWidget(parent)
    , m_clips(clips)
    , m_tree(new QTreeWidget(this))
{
    setObjectName(QStringLiteral("notReadyPane"));
    m_tree->setObjectName(QStringLiteral("notReadyTree"));
    m_tree->setHeaderLabels({tr("Folder or clip"), tr("State"), tr("Why it is not ready")});
    m_tree->setUniformRowHeights(true);
    m_tree->setTextElideMode(Qt::ElideMiddle);
    m_tree->setColumnWidth(NameColumn, 240);
    m_tree->setColumnWidth(StateColumn, 110);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tree);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &NotReadyPane::refresh);
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_clips, signal, this, &NotReadyPane::refreshSoon);
    connect(&m_clips, &QAbstractItemModel::modelReset, this, &NotReadyPane::refreshSoon);
    connect(&m_clips, &QAbstractItemModel::dataChanged, this, &NotReadyPane::refreshSoon);
    connect(m_tree, &QTreeWidget::itemExpanded, this, &NotReadyPane::refresh);
}

QString NotReadyPane::reasonOf(const ServiceClip& clip)
{
    if (clip.settles.isForever() || clip.settles.hasExpired())
        return clip.reason;
    const qint64 left = (clip.settles.remainingTime() + 999) / 1000;
    return left == 1 ? tr("%1 (1 second left)").arg(clip.reason)
                     : tr("%1 (%2 seconds left)").arg(clip.reason, QString::number(left));
}

void NotReadyPane::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    refresh();
}

void NotReadyPane::refreshSoon()
{
    if (isVisible() && !m_soon.isActive())
        m_soon.start(kSoon);
}

QTreeWidgetItem* NotReadyPane::rowOf(const QString& owner)
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        if (m_tree->topLevelItem(i)->data(NameColumn, kOwnerRole) == owner)
            return m_tree->topLevelItem(i);
    }
    auto* row = new QTreeWidgetItem(m_tree);
    row->setData(NameColumn, kOwnerRole, owner);
    row->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    return row;
}

void NotReadyPane::refresh()
{
    QMap<QString, QVector<const ServiceClip*>> waiting; // by owner; single files under an empty one
    bool counts = false;
    for (const ServiceClip& clip : m_clips.clips()) {
        if (!clip.isNotReady() || clip.state == ClipState::Gone)
            continue;
        waiting[clip.folderId].append(&clip);
        counts = counts || !clip.settles.isForever();
    }
    for (int i = m_tree->topLevelItemCount() - 1; i >= 0; --i) {
        if (!waiting.contains(m_tree->topLevelItem(i)->data(NameColumn, kOwnerRole).toString()))
            delete m_tree->takeTopLevelItem(i);
    }
    for (auto it = waiting.cbegin(); it != waiting.cend(); ++it)
        fill(*rowOf(it.key()), it.value());
    if (counts && isVisible())
        m_soon.start(kCountdown);
}

void NotReadyPane::fill(QTreeWidgetItem& row, const QVector<const ServiceClip*>& clips)
{
    row.setText(NameColumn, m_clips.ownerName(*clips.first()));
    row.setText(StateColumn, clips.size() == 1 ? tr("1 clip") : tr("%1 clips").arg(clips.size()));
    QStringList tip;
    for (int i = 0; i < clips.size() && i < kInToolTip; ++i)
        tip << clips.at(i)->name + QLatin1String(": ") + reasonOf(*clips.at(i));
    if (clips.size() > kInToolTip)
        tip << tr("and %1 more").arg(clips.size() - kInToolTip);
    for (int column = 0; column < Columns; ++column)
        row.setToolTip(column, plainToolTip(tip.join(QLatin1Char('\n'))));
    if (!row.isExpanded()) {
        qDeleteAll(row.takeChildren());
        return;
    }
    const int shown = qMin(clips.size(), kMostRows);
    const int wanted = shown + (clips.size() > shown ? 1 : 0);
    while (row.childCount() > wanted)
        delete row.takeChild(row.childCount() - 1);
    while (row.childCount() < wanted)
        new QTreeWidgetItem(&row);
    for (int i = 0; i < shown; ++i) {
        QTreeWidgetItem& line = *row.child(i);
        const ServiceClip& clip = *clips.at(i);
        line.setText(NameColumn, clip.name);
        line.setToolTip(NameColumn, plainToolTip(clip.path));
        line.setText(StateColumn, serviceclip::text(clip.state));
        line.setText(ReasonColumn, reasonOf(clip));
        line.setToolTip(ReasonColumn, plainToolTip(line.text(ReasonColumn)));
    }
    if (wanted > shown) {
        row.child(shown)->setText(NameColumn, tr("and %1 more").arg(clips.size() - shown));
        row.child(shown)->setText(StateColumn, QString());
        row.child(shown)->setText(ReasonColumn, QString());
    }
}
