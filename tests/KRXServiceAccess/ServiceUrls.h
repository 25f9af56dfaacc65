#pragma once

#include <QString>

/// The addresses that the managers are expected to use, each as a whole text.
namespace ServiceUrls {

inline const QString kFolders = QStringLiteral("http://localhost:58885/KRXService/xelmediafolders");
inline const QString kFoldersInDetail =
    QStringLiteral("http://localhost:58885/KRXService/xelmediafolders?level=detail");
inline const QString kOutputReady =
    QStringLiteral("http://localhost:58885/KRXService/xelmediafolders?level=outputready");
inline const QString kDeviceStatus = QStringLiteral("http://localhost:58885/KRXService/devicestatus");
inline const QString kJobs = QStringLiteral("http://localhost:58885/KRXService/jobs");
inline const QString kJobsStatus =
    QStringLiteral("http://localhost:58885/KRXService/jobs/status?filter=true");
inline const QString kManualJobs =
    QStringLiteral("http://localhost:58885/KRXService/jobs/detail?kind=manual&filter=true");
inline const QString kErrors = QStringLiteral("http://localhost:58885/KRXService/errors");
inline const QString kErrorsAndClear = QStringLiteral("http://localhost:58885/KRXService/errors?clear=true");
inline const QString kActivity = QStringLiteral("http://localhost:58885/KRXService/activity");
inline const QString kProfiles = QStringLiteral("http://localhost:58885/KRXService/profiles");
inline const QString kProfilesInDetail =
    QStringLiteral("http://localhost:58885/KRXService/profiles?level=detail");

/// The address of one member of a collection.
inline QString member(const QString& collection, const QString& id)
{
    return collection + QLatin1Char('/') + id;
}

} // namespace ServiceUrls
