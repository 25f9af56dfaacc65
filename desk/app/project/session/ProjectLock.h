#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

/// Holds a project file for one desk: a lock file beside it that other desks heed. It ends with this object,
/// and one that a desk left when it was killed counts for nothing.
class ProjectLock
{
public:
    /// \param path the project file; it need not exist. \return null, with what stands in the way in
    /// \a reason, when the project cannot be held.
    static std::unique_ptr<ProjectLock> take(const QString& path, QString& reason);

    /// Whether this is the lock of the project at \a path, by whatever way the path leads there.
    bool holds(const QString& path) const;

private:
    explicit ProjectLock(const QString& target);

    QString m_target;
    QLockFile m_file;
};
