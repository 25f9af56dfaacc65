#pragma once

#include "FakeRestClient.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>

#include <functional>
#include <memory>

/// The folder, profile and job managers as kinds of one thing, so that one test serves all of them.
namespace Managers {

inline const QString kGet = QStringLiteral("GET");
inline const QString kPost = QStringLiteral("POST");
inline const QString kPut = QStringLiteral("PUT");
inline const QString kDelete = QStringLiteral("DELETE");
inline const QString kUnreadable = QStringLiteral("The answer of the service could not be read");
inline const QString kCannotBeStored =
    QStringLiteral("The name or path holds characters that cannot be stored");

/// A document around \a content.
QByteArray listOf(const QByteArray& content);

/// One way of filling the cache anew.
struct Refresh
{
    QString url;
    std::function<bool()> run;
};

/// A manager with a cache of entries, each with an id and a label (a path or a name).
class Manager
{
public:
    virtual ~Manager() = default;

    /// Where the collection is, as a whole text.
    virtual QString url() const = 0;
    QString memberUrl(const QString& id) const;

    /// One entry as the service writes it.
    virtual QByteArray entry(const QByteArray& id, const QByteArray& label = "label") const = 0;
    /// Entries that lack what an entry needs.
    virtual QList<QByteArray> unusableEntries() const = 0;
    /// The service's answer to a creation.
    virtual QByteArray created(const QByteArray& id) const = 0;

    /// The ways of replacing the whole cache; the first one takes a single request for all entries.
    virtual QList<Refresh> refreshes() = 0;
    virtual QStringList ids() const = 0;
    /// In the order of the ids.
    virtual QStringList labels() const = 0;
    virtual int count() const = 0;
    /// \param label the text that a person gave. \param newId stays as it is when there is no new entry.
    virtual bool create(const QString& label, QString& newId) = 0;
    virtual bool remove(const QString& id) = 0;
    virtual QString lastError() const = 0;
    /// Ends the manager; the next call begins a new one.
    virtual void cleanup() = 0;

    /// Fills the cache with \a entries and forgets the request.
    bool fill(KRXTest::FakeRestClient& fake, const QByteArray& entries);
};

/// A manager of records that a process has once.
class RecordManager : public Manager
{
public:
    /// What the list holds for the record at that address.
    virtual QByteArray uri(const QByteArray& url) const = 0;
    virtual const void* instance() const = 0;
    /// In the order of the ids.
    virtual QList<const QObject*> records() const = 0;
    virtual QString idOf(const QObject& record) const = 0;
    virtual QString labelOf(const QObject& record) const = 0;
    virtual std::unique_ptr<QObject> newRecord() const = 0;
    virtual bool get(const QString& id, QObject& out) const = 0;
    virtual bool read(const QString& id, QObject& out) = 0;

    QStringList ids() const override;
    QStringList labels() const override;
    QByteArray created(const QByteArray& id) const override;
};

/// Ends a test of a manager that \a endManager ends: nothing may be left of it.
void endTest(std::unique_ptr<KRXTest::FakeRestClient>& fake, const std::function<void()>& endManager);

std::unique_ptr<RecordManager> folders();
std::unique_ptr<RecordManager> profiles();
std::unique_ptr<Manager> jobs();

} // namespace Managers
