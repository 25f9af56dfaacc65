#include "NotReadyPane.h"

#include "ClipTable.h"
#include "PlainText.h"

#include <QHeaderView>
#include <QMap>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace {

enum Column { NameColumn, StateColumn, ReasonColumn, Columns };
constexpr int kSoon = 200;       ///< milliseconds between news and the rows that show them
constexpr int kCountdown = 1000; ///< the same while seconds are counted
constexpr int kInToolTip = 10;
constexpr int kMostRows = 1000; ///< below one folder; the others are counted

/// What a person can wait for, mend or leave, in the order in which it is asked about.
enum Kind { OnItsWay, Failed, Cancelled, NotOffered, Kinds };
using Counts = std::array<int, Kinds>;
using Clips = QVector<const ServiceClip*>;

Kind kindOf(const ServiceClip& clip)
{
    switch (clip.state) {
    case ClipState::Failed:
        return Failed;
    case ClipState::Cancelled:
        return Cancelled;
    case ClipState::Rejected:
        return NotOffered;
    default:
        return OnItsWay;
    }
}

bool isShown(const ServiceClip& clip)
{
    return clip.isNotReady() && clip.state != ClipState::Gone;
}

/// Those of a kind stay in the order in which they were heard of.
void order(Clips& clips)
{
    std::stable_sort(clips.begin(), clips.end(),
                     [](const ServiceClip* a, const ServiceClip* b) { return kindOf(*a) < kindOf(*b); });
}

QString textOf(const Counts& counts)
{
    const QString texts[Kinds] = {NotReadyPane::tr("%1 on the way"), NotReadyPane::tr("%1 failed"),
                                  NotReadyPane::tr("%1 cancelled"), NotReadyPane::tr("%1 not offered")};
    QStringList parts;
    for (std::size_t kind = 0; kind < counts.size(); ++kind) {
        if (counts[kind] > 0)
            parts << texts[kind].arg(counts[kind]);
    }
    return parts.join(QLatin1String(", "));
}

} // namespace

/// The row of a folder. There may be thousands of which one is looked at, so a tool tip is made when somebody
/// asks for it.
class NotReadyPane::OwnerRow : public QTreeWidgetItem
{
public:
    OwnerRow(QTreeWidget* tree, const NotReadyPane& pane, const QString& owner)
        : QTreeWidgetItem(tree)
        , m_pane(pane)
        , m_owner(owner)
    {
        setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    }
    void show(const QString& name, const Counts& counts)
    {
        setText(NameColumn, name);
        if (counts == m_counts)
            return;
        m_counts = counts;
        setText(StateColumn, textOf(counts));
    }
    QVariant data(int column, int role) const override
    {
        return role == Qt::ToolTipRole ? m_pane.toolTipOf(m_owner) : QTreeWidgetItem::data(column, role);
    }

private:
    const NotReadyPane& m_pane;
    const QString m_owner;
    Counts m_counts{};
};

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
    m_tree->setColumnWidth(StateColumn, 200);
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

QString NotReadyPane::toolTipOf(const QString& owner) const
{
    Clips clips;
    for (const ServiceClip& clip : m_clips.clips()) {
        if (clip.folderId == owner && isShown(clip))
            clips.append(&clip);
    }
    order(clips);
    QStringList tip;
    for (int i = 0; i < clips.size() && i < kInToolTip; ++i)
        tip << clips.at(i)->name + QLatin1String(": ") + reasonOf(*clips.at(i));
    if (clips.size() > kInToolTip)
        tip << tr("and %1 more").arg(clips.size() - kInToolTip);
    return plainToolTip(tip.join(QLatin1Char('\n')));
}

void NotReadyPane::refresh()
{
    QMap<QString, Clips> owners;
    bool isCounting = false;
    for (const ServiceClip& clip : m_clips.clips()) {
        if (!isShown(clip))
            continue;
        owners[clip.folderId].append(&clip);
        isCounting = isCounting || !clip.settles.isForever();
    }
    for (auto it = m_rows.begin(); it != m_rows.end();) {
        if (owners.contains(it.key())) {
            ++it;
        } else {
            delete it.value();
            it = m_rows.erase(it);
        }
    }
    for (auto it = owners.begin(); it != owners.end(); ++it) {
        OwnerRow*& row = m_rows[it.key()];
        if (!row)
            row = new OwnerRow(m_tree, *this, it.key());
        Counts counts{};
        for (const ServiceClip* clip : qAsConst(*it))
            ++counts[kindOf(*clip)];
        row->show(m_clips.ownerName(*it->first()), counts);
        if (!row->isExpanded()) {
            qDeleteAll(row->takeChildren());
            continue;
        }
        order(*it);
        fill(*row, *it);
    }
    if (isCounting && isVisible())
        m_soon.start(kCountdown);
}

void NotReadyPane::fill(QTreeWidgetItem& row, const QVector<const ServiceClip*>& clips)
{
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
