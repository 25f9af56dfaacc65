#include "ClipFeed.h"

#include "RestRequest.h"

#include "RestWaits.h"

#include <QSet>
#include <QTimer>
#include <QXmlStreamReader>

#include <utility>

namespace {

constexpr unsigned kAnswer = 5000;      ///< milliseconds that a question may take
constexpr unsigned kLongAnswer = 25000; ///< the one that waits for changes, which is answered after 20 s
/// Milliseconds after each answer in which further changes gather.
constexpr int kPause = 30;
constexpr int kPage = 1000; ///< clips asked for at once
constexpr int kMostPages = 100;

bool readChanges(const QByteArray& body, QStringList& topics, quint64& version)
{
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("changes"))
        return false;
    version = xml.attributes().value(QLatin1String("version")).toULongLong();
    while (xml.readNextStartElement())
        topics << xml.readElementText(QXmlStreamReader::SkipChildElements);
    return !xml.hasError();
}

} // namespace

/// Lives in the feed's thread, which it blocks while it waits.
class ClipFeed::Reader : public QObject
{
public:
    Reader(ClipFeed& feed, std::shared_ptr<StandInHost::RestWaits> waits)
        : m_feed(feed)
        , m_waits(std::move(waits))
        , m_timer(this)
    {
        m_timer.setSingleShot(true);
        m_timer.callOnTimeout(this, [this] { step(); });
    }
    void begin()
    {
        if (m_timer.isActive())
            return;
        StandInHost::RestWaits::follow(m_waits);
        step();
    }

private:
    void step()
    {
        if (m_waits->hasEnded())
            return;
        const bool heard = m_listens ? listen() : readAll();
        if (heard != m_listens) {
            m_listens = heard;
            emit m_feed.listeningChanged(heard);
        }
        if (heard)
            m_timer.start(kPause);
    }
    bool readAll()
    {
        QStringList topics;
        // What changes while the list is read is heard of afterwards.
        if (!ask(kAnswer, 0, topics))
            return false;
        readNames();
        return readClips(0);
    }
    bool listen()
    {
        QStringList topics;
        const quint64 since = m_version;
        if (!ask(kLongAnswer, since, topics))
            return false;
        // Before the clips, which are told of by them.
        if (topics.contains(QLatin1String("folders")) || topics.contains(QLatin1String("profiles")))
            readNames();
        if (topics.contains(QLatin1String("clips")) && !readClips(m_clipsVersion))
            return false;
        if (!topics.isEmpty())
            emit m_feed.changed(topics);
        return true;
    }
    bool ask(unsigned longest, quint64 since, QStringList& topics)
    {
        const RestReply reply = restrequest::get(QStringLiteral("changes?since=%1").arg(since), longest);
        return reply.succeeded && readChanges(reply.body, topics, m_version);
    }
    /// A list that does not come leaves the names that were told of.
    void readNames()
    {
        const RestReply folders = restrequest::get(QStringLiteral("xelmediafolders?level=detail"), kAnswer);
        const RestReply profiles = restrequest::get(QStringLiteral("profiles?level=detail"), kAnswer);
        ServiceNames names;
        if (folders.succeeded && servicenames::readFolders(folders.body, names.folders) &&
            profiles.succeeded && servicenames::readProfiles(profiles.body, names.profiles))
            emit m_feed.namesChanged(names);
    }
    bool readClips(quint64 since)
    {
        ClipNews news;
        news.isWhole = since == 0;
        quint64 first = 0;
        for (int page = 0; page < kMostPages; ++page) {
            const RestReply reply = restrequest::get(
                QStringLiteral("clips?since=%1&offset=%2&limit=%3")
                    .arg(QString::number(since), QString::number(page * kPage), QString::number(kPage)),
                kAnswer);
            int total = 0;
            quint64 version = 0;
            if (!reply.succeeded || !serviceclip::read(reply.body, news, total, version))
                return false;
            // What changes between two pages may be on neither: the next question is about all since the
            // first.
            if (page == 0)
                first = version;
            if ((page + 1) * kPage >= total)
                break;
        }
        m_clipsVersion = first;
        if (news.isWhole)
            m_ids.clear();
        for (const ServiceClip& clip : news.clips)
            m_ids.insert(clip.id);
        // The service forgot some. What is missing then is not told of by itself.
        if (!news.isWhole && m_ids.size() != news.known)
            return readClips(0);
        emit m_feed.clipsChanged(news);
        return true;
    }

    ClipFeed& m_feed;
    std::shared_ptr<StandInHost::RestWaits> m_waits;
    QTimer m_timer;
    bool m_listens = false;
    QSet<QString> m_ids; ///< of the clips that were told of
    quint64 m_version = 0;
    quint64 m_clipsVersion = 0;
};

ClipFeed::ClipFeed(QObject* parent)
    : QObject(parent)
    , m_waits(std::make_shared<StandInHost::RestWaits>())
    , m_reader(new Reader(*this, m_waits))
{
    qRegisterMetaType<ClipNews>();
    qRegisterMetaType<ServiceNames>();
    m_thread.setObjectName(QStringLiteral("clip feed"));
    m_reader->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_reader, &QObject::deleteLater);
}

ClipFeed::~ClipFeed()
{
    if (m_thread.isRunning()) {
        m_waits->end();
        m_thread.quit();
        m_thread.wait();
    } else {
        delete m_reader;
    }
}

void ClipFeed::listen()
{
    m_thread.start();
    QMetaObject::invokeMethod(
        m_reader, [reader = m_reader] { reader->begin(); }, Qt::QueuedConnection);
}
