#include "KRXProfileManager.h"

#include "KRXProfile.h"

KRXProfileManager* KRXProfileManager::m_Instance = nullptr;
KRXProfileManager::KRXProfileManager() = default;
KRXProfileManager::~KRXProfileManager() = default;
KRXProfileManager& KRXProfileManager::getInstance()
{
    if (!m_Instance)
        m_Instance = new KRXProfileManager;
    return *m_Instance;
}
void KRXProfileManager::cleanup()
{
    delete m_Instance;
    m_Instance = nullptr;
}
bool KRXProfileManager::refreshProfiles(bool) { return false; }
bool KRXProfileManager::readProfile(const QString&, KRXProfile&) { return false; }
bool KRXProfileManager::getProfile(const QString&, KRXProfile&) const { return false; }
bool KRXProfileManager::createProfile(const QString&, KRXSettingsController*, ProfileActionsController*, QString&)
{
    return false;
}
bool KRXProfileManager::deleteProfile(const QString&) { return false; }
QString KRXProfileManager::getDefaultProfileID() const { return {}; }
QList<QPair<QString, QString>> KRXProfileManager::profileItems() const { return {}; }
QList<KRXProfile*> KRXProfileManager::getKRXProfileList() const { return {}; }
int KRXProfileManager::countProfiles() const { return m_profiles.size(); }
