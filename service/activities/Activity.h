#pragma once

#include "activities/Forecast.h"
#include "base/CancelToken.h"
#include "base/Outcome.h"
#include "documents/ProfileDocument.h"
#include "media/Clip.h"
#include "store/Records.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// What an action tells while it runs; both may be empty.
struct ActivityProgress
{
    std::function<void(int percent)> percent; ///< now and then, 0 to 100
    /// Before an unfinished file appears, so that it can be cleaned up after a crash; again before it gets
    /// its name, with what HiddenFile notes of it.
    std::function<void(const std::string& scratch)> willWrite;
    /// When copies are finished in \a folder: what its history is to list.
    std::function<void(const std::string& folder, std::vector<HistoryEntry> files)> copied;
};

/// The status of a refusal that says: the source changed meanwhile, so look at it again.
constexpr int kLookAgain = 409;

/// The status of a refusal that says: it can be done when a volume has space, or is there again; its text
/// begins with "waiting for" and is the same for all that wait for the same. The work is tried again from
/// this action on.
constexpr int kWaitFor = 507;

/// The status of a refusal that says: the program that does the work is missing, was ended by others again
/// and again, or stood still. Nothing is known of the clip, so it is no reason to do something else with it.
constexpr int kNoEngine = 503;

/// One kind of action that a profile can order. Has no state: may run on several threads at once.
class Activity
{
public:
    virtual ~Activity() = default;

    /// Does to \a clip what \a recipe orders and gives the clip that the next action works on, or the reason
    /// why it cannot. Blocks until it is done or \a cancel was set; whatever fails leaves nothing behind.
    virtual Outcome<Clip> run(const Clip& clip, const ActivityRecipe& recipe,
                              const ActivityProgress& progress, const CancelToken& cancel) const = 0;

    /// What run() would do to \a clip as things are now, without touching anything. The clip may not have
    /// been through the actions before this one, and has no checksums.
    virtual Forecast foresee(const Clip& clip, const ActivityRecipe& recipe, const CancelToken& cancel) const;

    /// Whether run() reads all of the clip's source and sidecars and tells their checksums. When such an
    /// action is the first one, nobody else needs to read them.
    virtual bool learnsContent() const { return false; }

    /// Why \a recipe can never be done, whatever the clip; nothing when it can.
    virtual std::optional<Refusal> check(const ActivityRecipe& recipe) const;

    /// The activity for the word \a id of a profile; never null: an unknown one refuses every clip.
    static const Activity& forId(const std::string& id);

    /// The refusal of the first of \a activities that is of no kind that this version can do, or that orders
    /// what can never be done; nothing when there is none.
    static std::optional<Refusal> checkAll(const std::vector<ActivityRecipe>& activities);
};

} // namespace krxservice
