#pragma once

#include <QByteArray>
#include <QHash>
#include <QMetaType>
#include <QString>

/// What the service's folders and profiles are called, by their ids.
struct ServiceNames
{
    QHash<QString, QString> folders; ///< their paths
    QHash<QString, QString> profiles;
};
Q_DECLARE_METATYPE(ServiceNames)

namespace servicenames {

/// Reads the service's list of folders, or of profiles, with all details. \return false when \a body is none.
bool readFolders(const QByteArray& body, QHash<QString, QString>& paths);
bool readProfiles(const QByteArray& body, QHash<QString, QString>& names);

} // namespace servicenames
