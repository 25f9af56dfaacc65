#include "activities/CopyForecast.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <sys/stat.h>

#include <climits>
#include <cstddef>
#include <optional>

namespace krxservice {

namespace {

constexpr int kMostNames = 10000;                              ///< how many taken names are tried
constexpr std::int64_t kLargestCompared = 256LL * 1024 * 1024; ///< bytes; beyond nobody waits for it

/// How a file stands to the one that has its name already.
enum class Twin { Free, Same, Likely, Other };

/// A file that is to be copied.
struct Original
{
    std::string path;
    std::int64_t size = 0;
    std::optional<std::string> checksum; ///< once it was needed
};

Twin twinOf(Original& original, const std::string& target, const CancelToken& cancel)
{
    const auto stamp = filetools::stampOfUnlinked(target);
    struct stat facts
    {
    };
    if (!stamp)
        return ::lstat(target.c_str(), &facts) == 0 ? Twin::Other : Twin::Free;
    if (stamp->size != original.size)
        return Twin::Other;
    if (original.size > kLargestCompared)
        return Twin::Likely;
    std::string error;
    if (!original.checksum)
        original.checksum = filetools::checksum(original.path, cancel, error);
    return original.checksum && original.checksum == filetools::checksum(target, cancel, error) ? Twin::Same
                                                                                                : Twin::Other;
}

/// Where all files of an order find a place, by the rules of the copy itself.
struct Places
{
    int number = 0; ///< of their names; 0 when there is none
    std::vector<Twin> twins;
};

Places placesOf(const CopyOrder& order, std::vector<Original>& originals, const CancelToken& cancel)
{
    for (int number = 1; number < kMostNames && !*cancel; ++number) {
        Places places{number, {}};
        for (std::size_t i = 0; i < originals.size(); ++i) {
            const std::string name = copiedName(order, i, number, NAME_MAX);
            places.twins.push_back(twinOf(originals[i], order.directory + '/' + name, cancel));
            if (places.twins.back() == Twin::Other)
                break;
        }
        if (places.twins.back() != Twin::Other)
            return places;
    }
    return {};
}

} // namespace

CopyForecast CopyForecast::of(const CopyOrder& order, const CancelToken& cancel)
{
    CopyForecast forecast;
    std::vector<Original> originals;
    for (std::size_t i = 0; i <= order.companions.size(); ++i) {
        const std::string& path = i == 0 ? order.source : order.companions[i - 1];
        const auto stamp = filetools::stampOfUnlinked(path);
        if (!stamp) {
            forecast.refusal = path + " is gone";
            return forecast;
        }
        originals.push_back({path, stamp->size, std::nullopt});
    }
    const Places places = placesOf(order, originals, cancel);
    if (places.number == 0) {
        forecast.refusal = order.directory + " holds too many files called " + text::baseName(order.source);
        return forecast;
    }
    if (places.number > 1)
        forecast.reason = "other files have these names; the copy gets another one";
    forecast.isThere = true;
    for (std::size_t i = 0; i < originals.size(); ++i) {
        const Twin twin = places.twins[i];
        forecast.isThere = forecast.isThere && twin == Twin::Same;
        if (twin == Twin::Likely)
            forecast.reason =
                "a file of this name and size is there; when its content is the same, it counts as the copy";
        forecast.bytes += twin == Twin::Same ? 0 : originals[i].size;
        forecast.results.push_back(
            {order.directory + '/' + copiedName(order, i, places.number, NAME_MAX), originals[i].size});
    }
    return forecast;
}

} // namespace krxservice
