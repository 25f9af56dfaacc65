#include "KRXJobManager.h"

KRXJobManager::KRXJobManager() = default;
KRXJobManager::KRXJobManager(const KRXJobManager&) = default;
KRXJobManager& KRXJobManager::operator=(const KRXJobManager&) = default;
KRXJobManager::~KRXJobManager() = default;
bool KRXJobManager::submitJob(const QString&, const QString&, QString&) { return false; }
bool KRXJobManager::cancelJob(const QString&) { return false; }
bool KRXJobManager::retryJob(const QString&) { return false; }
bool KRXJobManager::deleteJob(const QString&) { return false; }
bool KRXJobManager::updateJobsStatus() { return false; }
bool KRXJobManager::updateManualJobsDetail() { return false; }
int KRXJobManager::countJobs() const { return m_jobs.size(); }
bool KRXJobManager::getJob(const QString&, KRXJob&) const { return false; }
bool KRXJobManager::getJob(int, KRXJob&) const { return false; }
bool KRXJobManager::isAnyJobInProgress(bool*) { return false; }
bool KRXJobManager::getErrorList(QStringList&, bool) { return false; }
bool KRXJobManager::getKRXServiceStatus(KRXServiceStatus&) { return false; }
QStringList KRXJobManager::getFoldersOutputReady(bool*) { return {}; }
