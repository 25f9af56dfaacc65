#pragma once

#include "KRXBaseService.h"
#include "KRXExport.h"
#include "KRXRecordCache.h"

#include <QString>

#include <memory>

class KRXFolder;

/// The process-wide cache of watched folders, and the only code that reads, creates, changes and deletes them
/// on the service. GUI thread only; requests block it.
///
/// Positions are positions in the plain order of the folders' identifiers. A request that fails leaves the
/// cache as it was and the reason in lastError().
class KRX_EXPORT KRXFolderManager : public KRXBaseService
{
public:
    /// The one manager, made on first use.
    static KRXFolderManager& getInstance();
    /// Deletes the manager with all its records; a later getInstance() makes a new one. The host calls this
    /// after the panel is gone and before its application object dies.
    static void cleanup();

    ~KRXFolderManager() override;
    KRXFolderManager(const KRXFolderManager&) = delete;
    KRXFolderManager& operator=(const KRXFolderManager&) = delete;

    /// Reloads the cache, with the wait cursor shown.
    /// \param detailed one request for everything instead of one for each folder.
    bool refreshFolders(bool detailed);
    int countFolders() const;
    /// \return the folder at a position, or null outside 0 to countFolders() - 1. The manager owns it; it is
    /// valid until the next refresh, delete or read.
    const KRXFolder* getFolder(int index) const;
    /// Copies the folder at a position into \a out. \return false outside the positions.
    bool getFolder(const int& index, KRXFolder& out) const;
    /// Copies the cached folder \a id into \a out. \return false when it is not cached.
    bool getFolder(const QString& id, KRXFolder& out) const;
    /// Fetches one folder from the service into the cache and into \a out, with the wait cursor shown.
    bool readFolder(const QString& id, KRXFolder& out);
    /// Registers a folder with the service, disabled.
    /// \return whether the service took it. The new record may still be unreadable: then \a out has no
    /// "folderId".
    bool createFolder(const QString& path, const QString& profileId, KRXFolder& out);
    /// Writes path, profile and enabled flag of \a folder to the service.
    /// \param reprocess whether the service is to process the files that are there already.
    /// \return false also when the service took the change but the folder is not cached.
    bool updateFolder(KRXFolder& folder, bool reprocess);
    /// Removes a folder from the service and the cache; its files stay.
    bool deleteFolder(const QString& id);

    /// Tells the service that a volume came or went; for the host's volume events. Nothing is waited for.
    /// \param volumeName zero-terminated UTF-8. \param volumeType, volumeAction any codes of the host's; they
    /// are passed on and mean nothing to the module.
    static void volumeStatusCallback(const unsigned char* volumeName, int volumeType, int volumeAction);

private:
    KRXFolderManager();

    bool readFolders();
    bool readFoldersInDetail();
    /// The folder at \a url; null on any failure.
    std::unique_ptr<KRXFolder> folderDetail(const QString& url, Unreadable unreadable = Unreadable::Report);
    QString folderURL(const QString& id) const;
    void clearFolders();
    void cacheFolder(std::unique_ptr<KRXFolder> folder);

    KRXRecordCache<KRXFolder> m_folders;

    static KRXFolderManager* m_Instance;
};
