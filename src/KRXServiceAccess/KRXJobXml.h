#pragma once

#include "KRXJob.h"

#include <QDomDocument>
#include <QDomElement>
#include <QString>
#include <QStringList>

/// The documents that carry jobs and the service's activity.
namespace KRXJobXml {

/// The job of a "jobInfo" element; an empty job for a null element.
KRXJob parseJobInfoElement(const QDomElement& element);
/// The identifier, state and progress of a "jobStatus" element; an empty job for a null element.
KRXJob parseJobStatusElement(const QDomElement& element);
/// The texts of all error messages, in order.
QStringList errorMessages(const QDomDocument& document);
/// The identifiers of the folders that have output ready, in order.
QStringList readyFolderIds(const QDomDocument& document);

/// The request that submits a job.
QString submission(const QString& path, const QString& profileId);
/// The request that changes the state of jobs; it names no job.
QString stateChange(const QString& state);

} // namespace KRXJobXml
