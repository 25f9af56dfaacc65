#pragma once

#include "ClockReading.h"

#include <QAbstractTableModel>
#include <QSet>
#include <QStringList>
#include <QVector>

class ClipTable;

/// What a person should know, newest first: what the service complains about, which goes by itself once the
/// service says so no more, and what the desk has to say. What the service says of a clip that failed carries
/// the moment at which that happened; all else the one at which the desk heard of it.
class MessageList : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Time, Folder, Clip, Text, Advice, Columns };
    /// How long a message of the desk holds.
    enum Holds {
        UntilItsClipIsReady, ///< where it speaks of one; others stay until they are the oldest of too many
        WhileServiceIsAway
    };
    static constexpr int kMostMessages = 2000; ///< of the desk; the oldest go

    explicit MessageList(QObject* parent = nullptr);

    /// Where the time comes from; this machine unless told.
    void setClocks(const Clocks& clocks) { m_clocks = clocks; }

    /// All clips, to tell of which one a message speaks. \param clips must outlive the list.
    void follow(const ClipTable& clips);
    /// The paths of the folders, for the same.
    void setFolders(const QStringList& paths);
    /// All that the service complains about now.
    void setServiceErrors(const QStringList& errors);
    /// The desk says something.
    void add(const QString& text, Holds holds = UntilItsClipIsReady);
    /// The service answers: what was said of its absence holds no more.
    void serviceAnswers();
    /// Clips are ready, by their paths: what the desk said of them holds no more.
    void clipsAreReady(const QSet<QString>& paths);
    int serviceErrors() const;

    /// What a person can do about a message; empty when there is nothing to say.
    static QString adviceFor(const QString& text);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    struct Message
    {
        qint64 time = 0; ///< by the steady clock
        QString text;
        bool isService = false;
        Holds holds = UntilItsClipIsReady;
        QString folder;
        QString clip;
        QString path; ///< of the clip, when the service tells of it; otherwise the sentence counts
    };

    void insert(const QString& text, bool isService, Holds holds = UntilItsClipIsReady);
    template <typename Fits>
    void removeOwn(Fits fits);
    void place(Message& message) const;
    bool placeByStory(Message& message) const;
    void placeByStories();
    void order();

    const ClipTable* m_clips = nullptr;
    Clocks m_clocks = &ClockReading::now;
    QVector<Message> m_messages; ///< newest first
    QSet<QString> m_folders;     ///< paths
};
