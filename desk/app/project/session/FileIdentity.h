#pragma once

#include <QString>
#include <QtGlobal>

/// What tells one state of a file from another: which file it is, its size and the time of its last change.
struct FileIdentity
{
    bool exists = false;
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    /// Nanoseconds since 1970.
    qint64 changed = 0;

    /// The file at \a path as it is now. Links are followed.
    static FileIdentity of(const QString& path);

    friend bool operator==(const FileIdentity& a, const FileIdentity& b)
    {
        return a.exists == b.exists && a.device == b.device && a.inode == b.inode && a.size == b.size &&
               a.changed == b.changed;
    }
    friend bool operator!=(const FileIdentity& a, const FileIdentity& b) { return !(a == b); }
};
