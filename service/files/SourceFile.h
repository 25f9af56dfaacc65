#pragma once

#include "files/HeldDirectory.h"

#include <sys/stat.h>

#include <string>

namespace krxservice {

/// A media file, opened once: whatever is read, measured and offered is this file, whatever happens to its
/// name meanwhile.
class SourceFile
{
public:
    /// Opens \a path for reading. From \a root on no link is followed; a root that is empty, or is not above
    /// the path, stands for the directory that holds the file. Never waits for the other end of a pipe.
    explicit SourceFile(const std::string& path, const std::string& root = {});

    /// False when there is no such regular file; error() then says why.
    bool isOpen() const { return m_file.isOpen(); }
    const std::string& error() const { return m_error; }
    /// True when it could not be opened because nothing of that name is there.
    bool isMissing() const { return m_missing; }
    int get() const { return m_file.get(); }
    const std::string& path() const { return m_path; }

    /// As it was when it was opened.
    FileStamp stamp() const { return filetools::stampOf(m_facts); }
    const struct stat& facts() const { return m_facts; }

    /// True while size, time and change time are what they were. Times can be put back, the change time
    /// cannot; yet a new name or a new mode changes it too.
    bool isUnchanged() const;
    /// Takes the present facts as those to compare with. False when they cannot be had.
    bool lookAgain();
    /// True while path() leads to this very file, without a link below the root.
    bool isStillNamed() const;

    /// The permissions that a copy may have: the file's own, without those for people who cannot pass the
    /// directories above it.
    mode_t reach() const;
    /// Gives what is made of it, open as \a target, its group, and returns the permissions that it may then
    /// have at most: where the group cannot be given, the one it has gets what everybody may, since to
    /// another group belong other people.
    mode_t reachFor(int target) const;

    /// The directories between the root and the file: "card/100"; empty for a file in the root itself.
    std::string directoryBelow() const;
    /// The permissions that a directory made in the place of the file's own may have; always its owner's.
    mode_t directoryReach() const;

private:
    std::string m_path;
    std::string m_root;
    std::string m_below; ///< the path from the root on
    filetools::Descriptor m_parent{-1};
    filetools::Descriptor m_file{-1};
    struct stat m_facts
    {
    };
    std::string m_error;
    bool m_missing = false;
};

} // namespace krxservice
