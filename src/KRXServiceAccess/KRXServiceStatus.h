#pragma once

#include "KRXExport.h"

#include <QString>
#include <QStringList>

/// What the service is up to, as a value. Whoever polls takes a fresh record each time: an error flag once
/// set stays set.
class KRX_EXPORT KRXServiceStatus
{
public:
    /// Whether the service is working rather than idle.
    bool isActive() const { return m_active; }
    void setActive(bool active) { m_active = active; }
    /// Whether the service holds at least one error message.
    bool isError() const { return m_error; }
    void setError(bool error) { m_error = error; }
    /// Whether any folder has output ready.
    bool isFolderReady() const { return !m_readyFolderIds.isEmpty(); }
    /// Copies the identifiers of the folders with output ready into \a ids.
    void getReadyFolderIDList(QStringList& ids) const { ids = m_readyFolderIds; }
    void setReadyFolderIDList(const QStringList& ids) { m_readyFolderIds = ids; }

private:
    bool m_active = false;
    bool m_error = false;
    QStringList m_readyFolderIds;
};
