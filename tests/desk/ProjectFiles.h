#pragma once

#include "DeskProject.h"

#include <QFile>
#include <QString>

/// Project files as tests make and read them.
namespace ProjectFiles {

inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

/// A project file of one bin with \a clips clips. \return false when it cannot be written.
inline bool write(const QString& path, int clips)
{
    DeskProject project;
    project.create(path);
    const int bin = project.binNamed(QStringLiteral("Rushes"));
    for (int i = 0; i < clips; ++i) {
        DeskClip clip;
        clip.id = QString::number(i);
        project.addClip(bin, clip);
    }
    QString error;
    return project.save(error);
}

/// How many clips a project file holds; -1 when it cannot be read.
inline int clipsIn(const QString& path)
{
    DeskProject project;
    QString error;
    return project.load(path, error) ? project.clipCount() : -1;
}

/// How many bins a project file holds; -1 when it cannot be read.
inline int binsIn(const QString& path)
{
    DeskProject project;
    QString error;
    return project.load(path, error) ? project.bins().size() : -1;
}

} // namespace ProjectFiles
