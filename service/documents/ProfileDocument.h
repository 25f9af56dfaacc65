#pragma once

#include "base/Outcome.h"
#include "store/Records.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace krxservice {

/// One action of a profile, as far as the service must know it.
struct ActivityRecipe
{
    std::string id;               ///< the word for its kind
    std::string name;             ///< the activity's display name
    std::string destination;      ///< the folder to write into, of a kind that names one (a copy)
    bool relinkAfterCopy = false; ///< of a copy: the output links to the copy
    bool autoCheckin = false;     ///< of a copy: noted in the output document
    /// Of a transcode or consolidation: what it names as the volumes for pictures and for sound.
    std::string videoVolume;
    std::string audioVolume;
    std::string element; ///< the whole "activity" element, for the actions that read more of it
};

/// What a profile asks of the service.
struct ProfileRecipe
{
    std::string id;
    std::string name;
    std::string settings; ///< the whole "profileSettings" element; empty when there is none
    std::vector<ActivityRecipe> activities;
};

/// Reading and making profile documents.
namespace profiledocument {

/// Name of the profile that always exists.
constexpr char kDefaultName[] = "Default Profile";

/// The words for the kinds of action that a profile may order.
constexpr char kCopy[] = "copy";
constexpr char kTranscode[] = "transcode";
constexpr char kConsolidate[] = "consolidate";

/// Reads a "profileRequest": the record to be stored, under the id \a guid, which is written into the
/// document. Everything else that the client sent is kept as it is, actions that nobody can do included:
/// Activity knows.
Outcome<ProfileRecord> fromRequest(std::string_view body, const std::string& guid);

/// What the stored profile asks for.
Outcome<ProfileRecipe> recipe(const ProfileRecord& profile);

/// The folder on a volume that new media go into.
std::string mediaFolder(const std::string& volume);

/// The directories that a profile writes into, as it names them, whatever kinds of action name them: what
/// lies there was made by us.
std::set<std::string> destinations(const ProfileRecipe& recipe);

/// The request that makes the default profile: link only, a new bin named after the volume.
std::string defaultRequest();

} // namespace profiledocument

} // namespace krxservice
