#include "KRXFolderManager.h"

#include "KRXFolder.h"

KRXFolderManager* KRXFolderManager::m_Instance = nullptr;
KRXFolderManager::KRXFolderManager() = default;
KRXFolderManager::~KRXFolderManager() = default;
KRXFolderManager& KRXFolderManager::getInstance()
{
    if (!m_Instance)
        m_Instance = new KRXFolderManager;
    return *m_Instance;
}
void KRXFolderManager::cleanup()
{
    delete m_Instance;
    m_Instance = nullptr;
}
bool KRXFolderManager::refreshFolders(bool) { return false; }
int KRXFolderManager::countFolders() const { return m_folders.size(); }
const KRXFolder* KRXFolderManager::getFolder(int index) const { return m_folders.at(index); }
bool KRXFolderManager::getFolder(const int&, KRXFolder&) const { return false; }
bool KRXFolderManager::getFolder(const QString&, KRXFolder&) const { return false; }
bool KRXFolderManager::readFolder(const QString&, KRXFolder&) { return false; }
bool KRXFolderManager::createFolder(const QString&, const QString&, KRXFolder&) { return false; }
bool KRXFolderManager::updateFolder(KRXFolder&, bool) { return false; }
bool KRXFolderManager::deleteFolder(const QString&) { return false; }
void KRXFolderManager::volumeStatusCallback(const unsigned char*, int, int) {}
