#include "MessageList.h"

#include "ClipTable.h"
#include "PathsInText.h"
#include "PlainText.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace {

struct Remedy
{
    const char* sign; ///< what stands in the message
    const char* text;
};

/// The first that fits counts.
constexpr std::array<Remedy, 13> kAdvice = {{
    {"is not offered",
     QT_TRANSLATE_NOOP("MessageList",
                       "Move the file elsewhere, or convert it to a format that can be played")},
    {"No space left",
     QT_TRANSLATE_NOOP("MessageList", "Make room on the volume; the work goes on by itself")},
    {"waiting for space",
     QT_TRANSLATE_NOOP("MessageList", "Make room on the volume; the work goes on by itself")},
    {"waiting for the volume",
     QT_TRANSLATE_NOOP("MessageList", "Connect the volume, or choose another folder")},
    {"Permission denied", QT_TRANSLATE_NOOP("MessageList", "Give yourself access to the file or folder")},
    {"does not answer",
     QT_TRANSLATE_NOOP("MessageList", "Look whether the volume or the network is connected")},
    {"No such file or directory",
     QT_TRANSLATE_NOOP("MessageList", "Connect the volume, or choose another folder")},
    {"is not available", QT_TRANSLATE_NOOP("MessageList", "Connect the volume, or choose another folder")},
    {"profile does not exist", QT_TRANSLATE_NOOP("MessageList", "Choose another profile for the folder")},
    {"has no profile", QT_TRANSLATE_NOOP("MessageList", "Choose a profile for the folder")},
    {"watches no more directories",
     QT_TRANSLATE_NOOP("MessageList", "Watch fewer folders, or raise the system's limit of watches")},
    {"could not be saved", QT_TRANSLATE_NOOP("MessageList", "Save the project elsewhere")},
    {"failed", QT_TRANSLATE_NOOP("MessageList", "See the reason in the list of jobs, mend it and try again")},
}};

} // namespace

MessageList::MessageList(QObject* parent)
    : QAbstractTableModel(parent)
{
}

QString MessageList::adviceFor(const QString& text)
{
    const auto* found = std::find_if(kAdvice.begin(), kAdvice.end(), [&](const Remedy& advice) {
        return text.contains(QLatin1String(advice.sign), Qt::CaseInsensitive);
    });
    return found == kAdvice.end() ? QString() : tr(found->text);
}

void MessageList::follow(const ClipTable& clips)
{
    m_clips = &clips;
    // What changes of a clip that is known already says no more of where it lies.
    connect(&clips, &QAbstractItemModel::rowsInserted, this, &MessageList::placeByStories);
    connect(&clips, &QAbstractItemModel::modelReset, this, &MessageList::placeByStories);
    placeByStories();
}

/// \return whether the clip that a message speaks of is one that the service tells of.
bool MessageList::placeByStory(Message& message) const
{
    const ServiceClip* clip = m_clips ? m_clips->clipIn(message.text) : nullptr;
    if (!clip)
        return false;
    message.path = clip->path;
    message.clip = clip->name;
    message.folder = pathsintext::folderOf(message.path, m_folders);
    const bool isOfItsEnd = clip->state == ClipState::Failed || clip->state == ClipState::Rejected;
    if (message.isService && isOfItsEnd && clip->since != ClockReading::kUnknown)
        message.time = qMin(message.time, clip->since);
    return true;
}

/// Finds out of which folder and which clip a message speaks: it names their paths.
void MessageList::place(Message& message) const
{
    if (!message.path.isEmpty()) {
        message.folder = pathsintext::folderOf(message.path, m_folders);
    } else if (!placeByStory(message)) {
        message.folder = pathsintext::folderIn(message.text, m_folders);
        message.clip = pathsintext::fileIn(message.text, message.folder);
    }
}

void MessageList::setFolders(const QStringList& paths)
{
    const QSet<QString> folders(paths.begin(), paths.end());
    if (folders == m_folders)
        return;
    m_folders = folders;
    for (Message& message : m_messages)
        place(message);
    if (!m_messages.isEmpty())
        emit dataChanged(index(0, Folder), index(m_messages.size() - 1, Clip));
}

void MessageList::placeByStories()
{
    bool isMoved = false;
    for (int row = 0; row < m_messages.size(); ++row) {
        Message& message = m_messages[row];
        const qint64 time = message.time;
        if (!message.path.isEmpty() || !placeByStory(message))
            continue;
        emit dataChanged(index(row, Time), index(row, Clip));
        isMoved = isMoved || message.time != time;
    }
    if (isMoved)
        order();
}

void MessageList::order()
{
    emit layoutAboutToBeChanged();
    QVector<int> order(m_messages.size()); // rows of before
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [this](int a, int b) { return m_messages.at(a).time > m_messages.at(b).time; });
    QVector<Message> sorted;
    sorted.reserve(order.size());
    QVector<int> rows(order.size()); // of now, by those of before
    for (const int row : qAsConst(order)) {
        rows[row] = sorted.size();
        sorted.append(m_messages.at(row));
    }
    m_messages = sorted;
    const QModelIndexList held = persistentIndexList();
    for (const QModelIndex& one : held)
        changePersistentIndex(one, index(rows.at(one.row()), one.column()));
    emit layoutChanged();
}

void MessageList::insert(const QString& text, bool isService, Holds holds)
{
    Message message{m_clocks().steady, text, isService, holds, {}, {}, {}};
    place(message);
    const auto at = std::find_if(m_messages.begin(), m_messages.end(),
                                 [&](const Message& other) { return other.time <= message.time; });
    const int row = static_cast<int>(at - m_messages.begin());
    beginInsertRows(QModelIndex(), row, row);
    m_messages.insert(row, message);
    endInsertRows();
}

void MessageList::setServiceErrors(const QStringList& errors)
{
    QSet<QString> now(errors.begin(), errors.end());
    for (int row = m_messages.size() - 1; row >= 0; --row) {
        if (!m_messages.at(row).isService)
            continue;
        // Those that stay are known already, and keep their time.
        if (now.remove(m_messages.at(row).text))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_messages.removeAt(row);
        endRemoveRows();
    }
    for (const QString& error : errors) {
        if (now.remove(error))
            insert(error, true);
    }
}

template <typename Fits>
void MessageList::removeOwn(Fits fits)
{
    for (int row = m_messages.size() - 1; row >= 0; --row) {
        if (m_messages.at(row).isService || !fits(m_messages.at(row)))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_messages.removeAt(row);
        endRemoveRows();
    }
}

void MessageList::serviceAnswers()
{
    removeOwn([](const Message& message) { return message.holds == WhileServiceIsAway; });
}

void MessageList::clipsAreReady(const QSet<QString>& paths)
{
    removeOwn([&paths](const Message& message) { return paths.contains(message.path); });
}

void MessageList::add(const QString& text, Holds holds)
{
    insert(text, false, holds);
    int own = m_messages.size() - serviceErrors();
    for (int row = m_messages.size() - 1; own > kMostMessages && row >= 0; --row) {
        if (m_messages.at(row).isService)
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_messages.removeAt(row);
        endRemoveRows();
        --own;
    }
}

int MessageList::serviceErrors() const
{
    return static_cast<int>(std::count_if(m_messages.begin(), m_messages.end(),
                                          [](const Message& message) { return message.isService; }));
}

int MessageList::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_messages.size();
}

int MessageList::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(Columns);
}

QVariant MessageList::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Message& message = m_messages.at(index.row());
    const auto text = [&]() -> QString {
        switch (index.column()) {
        case Time:
            return m_clocks().shown(message.time);
        case Folder:
            return message.folder.mid(message.folder.lastIndexOf(QLatin1Char('/')) + 1);
        case Clip:
            return message.clip;
        case Text:
            return message.text;
        default:
            return adviceFor(message.text);
        }
    };
    if (role == Qt::DisplayRole)
        return text();
    if (role == Qt::ToolTipRole)
        return plainToolTip(index.column() == Folder ? message.folder : text());
    return {};
}

QVariant MessageList::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= Columns)
        return QAbstractTableModel::headerData(section, orientation, role);
    const QString titles[Columns] = {tr("Time"), tr("Folder"), tr("Clip"), tr("Message"), tr("What to do")};
    return titles[section];
}
