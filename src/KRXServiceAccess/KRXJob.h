#pragma once

#include "KRXExport.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

/// One unit of work of the service, as a value.
class KRX_EXPORT KRXJob
{
public:
    KRXJob();
    KRXJob(const KRXJob&);
    KRXJob& operator=(const KRXJob&);
    virtual ~KRXJob();

    /// The service's identifier.
    QString id;
    /// The path that is processed.
    QString path;
    /// Identifier of the profile used.
    QString profile;
    QString groupID;
    QString groupName;
    /// The service's word for the state, for example "SUBMITTED" or "CANCELLED".
    QString state;
    /// Names of the files produced.
    QStringList outputFiles;
    /// Whether the job has come to an end, good or bad.
    bool complete = false;
    /// Progress; 0 when the service gave none.
    qint16 percentComplete = 0;
};
