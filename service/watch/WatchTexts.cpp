#include "watch/WatchTexts.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <string_view>

namespace krxservice::watchtexts {

namespace {

constexpr char kFolder[] = "The folder ";
constexpr char kLeftOut[] = "Left out: ";
constexpr char kUnavailable[] = " cannot be read: ";
constexpr char kSilent[] = " does not answer";
constexpr char kExhausted[] = " is watched by reading it again and again only: the system watches no more "
                              "directories (fs.inotify.max_user_watches)";
constexpr std::size_t kLongestPath = 600; ///< bytes
constexpr std::size_t kHalf = 250;        ///< bytes kept at either end of a longer one

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

std::string shortened(const std::string& path)
{
    if (path.size() <= kLongestPath)
        return path;
    // From the start of a character on.
    std::size_t tail = path.size() - kHalf;
    while (tail < path.size() && (static_cast<unsigned char>(path[tail]) & 0xC0) == 0x80)
        ++tail;
    return std::string(filetools::cutText(path, kHalf)) + " ... " + path.substr(tail);
}

} // namespace

std::string unavailable(const std::string& root, const std::string& reason)
{
    return kFolder + root + kUnavailable + reason;
}

std::string silent(const std::string& root)
{
    return kFolder + root + kSilent;
}

std::string exhausted(const std::string& root)
{
    return kFolder + root + kExhausted;
}

std::string leftOut(const std::string& path, const std::string& reason)
{
    return kLeftOut + shortened(path) + ": " + reason;
}

bool isAbout(const std::string& text, const std::string& root)
{
    // The list holds the texts in the form that documents can carry.
    const std::string clean = text::xmlClean(text::oneLine(root));
    const std::string folder = kFolder + clean;
    return startsWith(text, kLeftOut + (clean == "/" ? clean : clean + '/')) ||
           startsWith(text, folder + kUnavailable) || text == folder + kSilent || text == folder + kExhausted;
}

} // namespace krxservice::watchtexts
