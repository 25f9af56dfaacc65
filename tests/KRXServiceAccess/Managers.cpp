#include "Managers.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXJob.h"
#include "KRXJobManager.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>

namespace Managers {

namespace {

class Folders final : public RecordManager
{
public:
    QString url() const override { return ServiceUrls::kFolders; }

    QByteArray entry(const QByteArray& id, const QByteArray& label) const override
    {
        return "<xelMediaFolder id=\"" + id + "\"><path>" + label +
               "</path><profile>p</profile><enabled>false</enabled></xelMediaFolder>";
    }
    QList<QByteArray> unusableEntries() const override
    {
        return {"<xelMediaFolder><path>/x</path></xelMediaFolder>", "<xelMediaFolder/>", entry("", "/x")};
    }
    QByteArray uri(const QByteArray& url) const override
    {
        return "<xelMediaFolderURI>" + url + "</xelMediaFolderURI>";
    }

    QList<Refresh> refreshes() override
    {
        return {{ServiceUrls::kFoldersInDetail, [] { return manager().refreshFolders(true); }},
                {ServiceUrls::kFolders, [] { return manager().refreshFolders(false); }}};
    }
    const void* instance() const override { return &manager(); }
    int count() const override { return manager().countFolders(); }
    QList<const QObject*> records() const override
    {
        QList<const QObject*> found;
        for (int i = 0; i < manager().countFolders(); ++i)
            found << manager().getFolder(i);
        return found;
    }
    QString idOf(const QObject& record) const override { return record.property("folderId").toString(); }
    QString labelOf(const QObject& record) const override { return record.property("folderPath").toString(); }
    std::unique_ptr<QObject> newRecord() const override { return std::make_unique<KRXFolder>(); }
    bool get(const QString& id, QObject& out) const override
    {
        return manager().getFolder(id, static_cast<KRXFolder&>(out));
    }
    bool read(const QString& id, QObject& out) override
    {
        return manager().readFolder(id, static_cast<KRXFolder&>(out));
    }
    bool create(const QString& label, QString& newId) override
    {
        KRXFolder out;
        out.setProperty("own", 1);
        const bool result = manager().createFolder(label, QStringLiteral("p"), out);
        // Whatever was done to the record shows as another id.
        if (out.dynamicPropertyNames() != QList<QByteArray>({"own"}))
            newId = idOf(out);
        return result;
    }
    bool remove(const QString& id) override { return manager().deleteFolder(id); }
    QString lastError() const override { return manager().lastError(); }
    void cleanup() override { KRXFolderManager::cleanup(); }

private:
    static KRXFolderManager& manager() { return KRXFolderManager::getInstance(); }
};

class Profiles final : public RecordManager
{
public:
    QString url() const override { return ServiceUrls::kProfiles; }

    QByteArray entry(const QByteArray& id, const QByteArray& label) const override
    {
        return "<profile><version>200</version><profileDetail><profileName>" + label +
               "</profileName><profileGUID>" + id + "</profileGUID></profileDetail></profile>";
    }
    QList<QByteArray> unusableEntries() const override
    {
        return {entry("2", ""), entry("", "b"), "<profile/>"};
    }
    QByteArray uri(const QByteArray& url) const override { return "<profileURI>" + url + "</profileURI>"; }

    QList<Refresh> refreshes() override
    {
        return {{ServiceUrls::kProfilesInDetail, [] { return manager().refreshProfiles(true); }},
                {ServiceUrls::kProfiles, [] { return manager().refreshProfiles(false); }}};
    }
    const void* instance() const override { return &manager(); }
    int count() const override { return manager().countProfiles(); }
    QList<const QObject*> records() const override
    {
        QList<const QObject*> found;
        for (const KRXProfile* profile : manager().getKRXProfileList())
            found << profile;
        return found;
    }
    QString idOf(const QObject& record) const override { return record.property("profileGUID").toString(); }
    QString labelOf(const QObject& record) const override
    {
        return record.property("profileName").toString();
    }
    std::unique_ptr<QObject> newRecord() const override { return std::make_unique<KRXProfile>(); }
    bool get(const QString& id, QObject& out) const override
    {
        return manager().getProfile(id, static_cast<KRXProfile&>(out));
    }
    bool read(const QString& id, QObject& out) override
    {
        return manager().readProfile(id, static_cast<KRXProfile&>(out));
    }
    bool create(const QString& label, QString& newId) override
    {
        return manager().createProfile(label, nullptr, nullptr, newId);
    }
    bool remove(const QString& id) override { return manager().deleteProfile(id); }
    QString lastError() const override { return manager().lastError(); }
    void cleanup() override { KRXProfileManager::cleanup(); }

private:
    static KRXProfileManager& manager() { return KRXProfileManager::getInstance(); }
};

class Jobs final : public Manager
{
public:
    QString url() const override { return ServiceUrls::kJobs; }

    QByteArray entry(const QByteArray& id, const QByteArray& label) const override
    {
        return "<jobInfo><id>" + id + "</id><path>" + label +
               "</path><profile>p</profile><groupID>g</groupID><groupName>G</groupName></jobInfo>";
    }
    QList<QByteArray> unusableEntries() const override { return {entry("", "/none"), "<jobInfo/>"}; }
    QByteArray created(const QByteArray& id) const override { return entry(id, "/stored"); }

    QList<Refresh> refreshes() override
    {
        return {{ServiceUrls::kManualJobs, [this] { return manager().updateManualJobsDetail(); }}};
    }
    int count() const override { return manager().countJobs(); }
    QStringList ids() const override
    {
        QStringList found;
        KRXJob job;
        for (int i = 0; manager().getJob(i, job); ++i)
            found << job.id;
        return found;
    }
    QStringList labels() const override
    {
        QStringList found;
        KRXJob job;
        for (int i = 0; manager().getJob(i, job); ++i)
            found << job.path;
        return found;
    }
    bool create(const QString& label, QString& newId) override
    {
        return manager().submitJob(label, QStringLiteral("p"), newId);
    }
    bool remove(const QString& id) override { return manager().deleteJob(id); }
    QString lastError() const override { return manager().lastError(); }
    void cleanup() override { m_manager.reset(); }

private:
    KRXJobManager& manager() const
    {
        if (!m_manager)
            m_manager = std::make_unique<KRXJobManager>();
        return *m_manager;
    }

    mutable std::unique_ptr<KRXJobManager> m_manager;
};

} // namespace

QByteArray listOf(const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><list>" + content + "</list>";
}

QString Manager::memberUrl(const QString& id) const
{
    return ServiceUrls::member(url(), id);
}

bool Manager::fill(KRXTest::FakeRestClient& fake, const QByteArray& entries)
{
    const Refresh refresh = refreshes().constFirst();
    fake.answer(kGet, refresh.url, 200, listOf(entries));
    const bool result = refresh.run();
    fake.clearRequests();
    return result;
}

QStringList RecordManager::ids() const
{
    QStringList found;
    for (const QObject* record : records())
        found << idOf(*record);
    return found;
}

QStringList RecordManager::labels() const
{
    QStringList found;
    for (const QObject* record : records())
        found << labelOf(*record);
    return found;
}

QByteArray RecordManager::created(const QByteArray& id) const
{
    return listOf(uri("http://new/" + id));
}

void endTest(std::unique_ptr<KRXTest::FakeRestClient>& fake, const std::function<void()>& endManager)
{
    QVERIFY(!QGuiApplication::overrideCursor());
    QCOMPARE(fake->liveResponses(), 0);
    StandInHost::setTranslator({});
    endManager();
    QCOMPARE(fake->clientReferences(), 0);
    fake.reset();
}

std::unique_ptr<RecordManager> folders()
{
    return std::make_unique<Folders>();
}

std::unique_ptr<RecordManager> profiles()
{
    return std::make_unique<Profiles>();
}

std::unique_ptr<Manager> jobs()
{
    return std::make_unique<Jobs>();
}

} // namespace Managers
