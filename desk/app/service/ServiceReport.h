#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVector>

/// One manual job as the service tells it.
struct DeskJob
{
    QString id;
    QString path;
    /// The service's word for the state.
    QString state;
    bool complete = false;
    int percent = 0;
    /// Link documents that wait to be taken.
    QStringList outputs;

    bool isCancelled() const { return complete && state == QLatin1String("CANCELLED"); }
    bool isCompleted() const { return complete && state == QLatin1String("COMPLETED"); }
};

/// What the service answered when it was last asked.
struct ServiceReport
{
    /// The service answered.
    bool online = false;
    /// It works on something.
    bool active = false;
    /// What it has to complain about.
    QStringList errors;
    /// Folders that have outputs ready.
    QStringList readyFolders;
    QVector<DeskJob> jobs;
    /// Why it did not answer.
    QString failure;
    /// The user whose program has the service's port, when that is not ours and so was not asked. Looked for
    /// only while no service answers.
    QString portHolder;
};
Q_DECLARE_METATYPE(ServiceReport)
