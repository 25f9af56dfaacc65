#include "ClipTable.h"

#include "PathsInText.h"
#include "PlainText.h"

#include <QFileInfo>
#include <QLocale>

#include <algorithm>

namespace {

constexpr int kMinute = 60;
constexpr int kHour = 60 * kMinute;

QString duration(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    if (seconds < kMinute)
        return ClipTable::tr("%1 s").arg(QLocale().toString(double(milliseconds) / 1000, 'f', 1));
    const QString minutes = QStringLiteral("%1:%2")
                                .arg(seconds % kHour / kMinute, 2, 10, QLatin1Char('0'))
                                .arg(seconds % kMinute, 2, 10, QLatin1Char('0'));
    return seconds < kHour ? minutes : QString(QString::number(seconds / kHour) + QLatin1Char(':') + minutes);
}

QString sentence(QString text)
{
    if (!text.isEmpty())
        text[0] = text.at(0).toUpper();
    return text;
}

/// The ids of clips begin anew with each start of the service.
QString keyOf(const ServiceClip& clip)
{
    return clip.guid.isEmpty() ? QString(clip.folderId + clip.jobId + clip.path) : clip.guid;
}

} // namespace

ClipTable::ClipTable(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void ClipTable::replaceAll(const QVector<ServiceClip>& clips)
{
    beginResetModel();
    m_clips.clear();
    m_rows.clear();
    m_byPath.clear();
    for (const ServiceClip& clip : clips)
        append(clip);
    endResetModel();
    emit applied();
}

void ClipTable::append(const ServiceClip& clip)
{
    m_rows.insert(clip.id, m_clips.size());
    m_byPath.insert(clip.path, m_clips.size());
    m_clips.append(clip);
}

void ClipTable::apply(const ClipNews& news)
{
    if (news.isWhole)
        return replaceAll(news.clips);
    QVector<ServiceClip> added;
    QVector<int> changed;
    for (const ServiceClip& clip : news.clips) {
        const auto known = m_rows.find(clip.id);
        if (known == m_rows.end()) {
            added.append(clip);
            continue;
        }
        m_clips[*known] = clip;
        changed.append(*known);
    }
    tellChanged(changed);
    if (!added.isEmpty()) {
        beginInsertRows(QModelIndex(), m_clips.size(), m_clips.size() + added.size() - 1);
        for (const ServiceClip& clip : added)
            append(clip);
        endInsertRows();
    }
    emit applied();
}

/// Row by row, and rows that stand together at once: whoever sorts looks at all that are told of.
void ClipTable::tellChanged(QVector<int> rows)
{
    std::sort(rows.begin(), rows.end());
    for (int i = 0; i < rows.size();) {
        const int first = rows.at(i);
        int last = first;
        while (++i < rows.size() && rows.at(i) <= last + 1)
            last = rows.at(i);
        emit dataChanged(index(first, 0), index(last, Columns - 1));
    }
}

void ClipTable::setNames(const QHash<QString, QString>& folders, const QHash<QString, QString>& profiles)
{
    if (folders == m_folders && profiles == m_profiles)
        return;
    m_folders = folders;
    m_profiles = profiles;
    if (!m_clips.isEmpty())
        emit dataChanged(index(0, Folder), index(m_clips.size() - 1, Profile));
}

QString ClipTable::ownerName(const ServiceClip& clip) const
{
    return clip.folderId.isEmpty() ? tr("Single file") : m_folders.value(clip.folderId, clip.folderId);
}

const ServiceClip* ClipTable::clipIn(const QString& text) const
{
    const auto row = m_byPath.find(
        pathsintext::pathIn(text, [this](const QString& path) { return m_byPath.contains(path); }));
    return row == m_byPath.end() ? nullptr : &m_clips.at(*row);
}

int ClipTable::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_clips.size();
}

int ClipTable::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(Columns);
}

QString ClipTable::text(const ServiceClip& clip, int column) const
{
    switch (column) {
    case Clip:
        return clip.name;
    case Folder:
        return ownerName(clip);
    case Profile:
        return m_profiles.value(clip.profileId);
    case Action:
        return clip.activity;
    case State:
        return serviceclip::text(clip.state);
    case Reason:
        return sentence(clip.reason);
    case Started:
        return m_clocks().shown(clip.started);
    case Took:
        return clip.took >= 0 ? duration(clip.took) : QString();
    default:
        return {};
    }
}

QVariant ClipTable::sortValue(const ServiceClip& clip, int column) const
{
    switch (column) {
    case Progress:
        return clip.state == ClipState::Acting ? clip.percent : -1;
    case State:
        return int(clip.state);
    case Started:
        // What has not begun yet comes behind what has.
        return clip.started == ClockReading::kUnknown ? clip.since : clip.started;
    case Took:
        return clip.took;
    default:
        return text(clip, column);
    }
}

QVariant ClipTable::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ServiceClip& clip = m_clips.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return text(clip, index.column());
    case Qt::ToolTipRole:
        return plainToolTip(index.column() == Clip ? clip.path : text(clip, index.column()));
    case Qt::TextAlignmentRole:
        return int(index.column() == Took ? Qt::AlignRight | Qt::AlignVCenter
                                          : Qt::AlignLeft | Qt::AlignVCenter);
    case SortRole:
        return sortValue(clip, index.column());
    case IdRole:
        return clip.id;
    case PercentRole:
        return clip.state == ClipState::Acting ? clip.percent : -1;
    case StateRole:
        return int(clip.state);
    case JobRole:
        return clip.job();
    case PathRole:
        return clip.path;
    case ReasonRole:
        return clip.reason;
    default:
        return {};
    }
}

QVariant ClipTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= Columns)
        return QAbstractTableModel::headerData(section, orientation, role);
    const QString titles[Columns] = {tr("Clip"),  tr("Folder"), tr("Profile"), tr("Action"), tr("Progress"),
                                     tr("State"), tr("Reason"), tr("Started"), tr("Took")};
    return titles[section];
}

ClipFilter::ClipFilter(ClipTable& clips, QObject* parent)
    : QSortFilterProxyModel(parent)
    , m_clips(clips)
{
    setSortRole(ClipTable::SortRole);
    setSortCaseSensitivity(Qt::CaseInsensitive);
    setSourceModel(&clips);
}

void ClipFilter::clearFinished()
{
    for (const ServiceClip& clip : m_clips.clips()) {
        if (clip.isOver() && clip.state != ClipState::Failed)
            m_cleared.insert(keyOf(clip), clip.state);
    }
    invalidateFilter();
}

bool ClipFilter::isCleared(const ServiceClip& clip) const
{
    if (m_cleared.isEmpty())
        return false;
    const auto found = m_cleared.find(keyOf(clip));
    if (found != m_cleared.end() && *found != clip.state)
        m_cleared.erase(found);
    else if (found != m_cleared.end())
        return true;
    return false;
}

int ClipFilter::countUncleared() const
{
    const auto& clips = m_clips.clips();
    return static_cast<int>(std::count_if(clips.begin(), clips.end(),
                                          [this](const ServiceClip& clip) { return !isCleared(clip); }));
}

void ClipFilter::setKind(Kind kind)
{
    m_kind = kind;
    invalidateFilter();
}

void ClipFilter::setText(const QString& text)
{
    m_text = text.trimmed();
    invalidateFilter();
}

bool ClipFilter::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    if (isCleared(m_clips.clips().at(row)))
        return false;
    const QModelIndex first = sourceModel()->index(row, ClipTable::Clip, parent);
    const auto state = static_cast<ClipState>(first.data(ClipTable::StateRole).toInt());
    const bool isRunning = state == ClipState::Acting || state == ClipState::Publishing;
    const bool isFailed = state == ClipState::Failed || state == ClipState::Rejected;
    if ((m_kind == Working && !isRunning) || (m_kind == NotReady && state >= ClipState::Offered) ||
        (m_kind == Failed && !isFailed) || (m_kind == Finished && state < ClipState::Offered))
        return false;
    if (m_text.isEmpty())
        return true;
    constexpr int searched[] = {ClipTable::Clip,   ClipTable::Folder, ClipTable::Profile,
                                ClipTable::Action, ClipTable::State,  ClipTable::Reason};
    return std::any_of(std::begin(searched), std::end(searched), [&](int column) {
        return first.sibling(row, column).data().toString().contains(m_text, Qt::CaseInsensitive);
    });
}
