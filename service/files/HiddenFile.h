#pragma once

#include "base/FileTools.h"
#include "base/Outcome.h"
#include "files/HeldDirectory.h"

#include <functional>
#include <memory>
#include <string>

namespace krxservice {

/// A new file that nobody sees before it is whole: it has a hidden name until finish() gives it its own, and
/// is removed with its object otherwise.
class HiddenFile
{
public:
    /// Why there is none: an errno value, and a text.
    struct Failure
    {
        int error = 0;
        std::string text;
    };

    /// Makes the file in \a below, which is made when missing, of the directory \a root, which must exist. It
    /// is to be called \a name. \a willWrite is told the hidden path before the file exists. Null with
    /// \a failure set when that cannot be done.
    static std::unique_ptr<HiddenFile> make(const std::string& root, const std::string& below,
                                            const std::string& name, mode_t directoryMode,
                                            const std::function<void(const std::string&)>& willWrite,
                                            Failure& failure);
    ~HiddenFile();
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;

    /// Open for reading and writing.
    int get() const { return m_file.get(); }
    /// The directory that it is in.
    const std::string& directory() const { return m_directory; }
    const std::string& name() const { return m_name; }

    /// Brings all of it to the disk and gives it its name, or "name (2).ext" when that is taken: nothing is
    /// ever replaced. \a willName is told beforehand by what the file is known under its new name
    /// (removeNamed()), so that it is found after a crash. \return true, or false with \a failure set; then
    /// it is as it was before.
    bool finish(mode_t mode, Failure& failure, const std::function<void(const std::string&)>& willName = {});
    /// True when \a note is what willName was told; then the file is removed if it is there, and no other one
    /// in its place.
    static bool removeNamed(const std::string& note);
    /// Where it is; the hidden path until finish() is done.
    std::string path() const;
    /// After finish(): removes it all the same.
    void undo();

private:
    HiddenFile() = default;

    std::string m_directory;
    std::string m_name;
    std::string m_hidden;
    std::string m_final; ///< empty until it has its name
    filetools::Descriptor m_place{-1};
    filetools::Descriptor m_file{-1};
};

} // namespace krxservice
