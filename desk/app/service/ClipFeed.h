#pragma once

#include "ServiceClip.h"
#include "ServiceNames.h"

#include <QObject>
#include <QStringList>
#include <QThread>

#include <memory>

namespace StandInHost {
class RestWaits;
}

/// Learns from the service what changes, by one request that waits there until something does, on a thread of
/// its own. Costs nothing while nothing happens.
class ClipFeed : public QObject
{
    Q_OBJECT

public:
    explicit ClipFeed(QObject* parent = nullptr);
    /// Cuts short what it waits for.
    ~ClipFeed() override;

    /// The service is there: begins to listen, unless it does. When that ends it has to be told again.
    void listen();

signals:
    // Delivered in the thread that the feed lives in.
    /// All clips first, then those that change.
    void clipsChanged(const ClipNews& news);
    /// What folders and profiles are called, whoever made them: at first, and when that changes.
    void namesChanged(const ServiceNames& names);
    /// Words of the service for what changed: "folders", "profiles", "jobs", "clips", "errors".
    void changed(const QStringList& topics);
    /// Whether changes are heard of as they happen. False at first.
    void listeningChanged(bool listens);

private:
    class Reader;

    QThread m_thread;
    std::shared_ptr<StandInHost::RestWaits> m_waits;
    Reader* m_reader;
};
