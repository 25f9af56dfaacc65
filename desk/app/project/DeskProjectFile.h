#pragma once

#include "DeskProject.h"

#include <QByteArray>
#include <QString>

/// The project file's form: JSON, with keys that are not known kept as they were found.
namespace DeskProjectFile {

/// What a file holds.
struct Contents
{
    QVector<DeskBin> bins;
    QString activeBin;
    QJsonObject more;
};

/// Puts contents into the file's form.
QByteArray toBytes(const Contents& contents);
/// Reads the file's form. \return false with a text in \a error when it is damaged, is no project or was made
/// by a newer version.
bool fromBytes(const QByteArray& bytes, Contents& contents, QString& error);
/// Replaces \a path by \a bytes so that a crash or a power cut leaves the old file or the new one, whole.
bool replaceFile(const QString& path, const QByteArray& bytes, QString& error);

} // namespace DeskProjectFile
