#include "MessageList.h"

#include "PlainText.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace {

struct Remedy
{
    const char* sign; ///< what stands in the message
    const char* text;
};

/// The first that fits counts.
constexpr std::array<Remedy, 12> kAdvice = {{
    {"is not offered",
     QT_TRANSLATE_NOOP("MessageList",
                       "Move the file elsewhere, or convert it to a format that can be played")},
    {"No space left",
     QT_TRANSLATE_NOOP("MessageList", "Make room on the volume; the work goes on by itself")},
    {"waiting for space",
     QT_TRANSLATE_NOOP("MessageList", "Make room on the volume; the work goes on by itself")},
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

/// Finds out of which folder and which clip a message speaks: it names their paths.
void MessageList::place(Message& message) const
{
    message.folder.clear();
    message.clip.clear();
    for (const QString& folder : m_folders) {
        const int at = message.text.indexOf(folder);
        if (at < 0 || folder.size() <= message.folder.size())
            continue;
        message.folder = folder;
        const int from = at + folder.size();
        message.clip.clear();
        if (message.text.mid(from, 1) != QLatin1String("/"))
            continue;
        // The path ends where the sentence goes on; an extension tells the two apart.
        const int dot = message.text.indexOf(QLatin1Char('.'), from);
        int end = dot < 0 ? message.text.indexOf(QLatin1Char(' '), from) : dot;
        while (end >= 0 && end < message.text.size() && !message.text.at(end).isSpace() &&
               message.text.at(end) != QLatin1Char(':'))
            ++end;
        const QString path = message.text.mid(from + 1, end < 0 ? -1 : end - from - 1);
        message.clip = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    }
}

void MessageList::setFolders(const QStringList& paths)
{
    if (paths == m_folders)
        return;
    m_folders = paths;
    for (Message& message : m_messages)
        place(message);
    if (!m_messages.isEmpty())
        emit dataChanged(index(0, Folder), index(m_messages.size() - 1, Clip));
}

void MessageList::insert(const QString& text, bool isService)
{
    Message message{m_clocks().steady, text, isService, {}, {}};
    place(message);
    beginInsertRows(QModelIndex(), 0, 0);
    m_messages.prepend(message);
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

void MessageList::add(const QString& text)
{
    insert(text, false);
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
            return m_clocks().onTheWall(message.time).toString(QStringLiteral("HH:mm:ss"));
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
