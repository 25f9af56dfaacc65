#include "client/Commands.h"

#include "client/Backup.h"
#include "client/Diagnosis.h"
#include "client/Output.h"
#include "client/Status.h"
#include "client/WorkCommands.h"

#include <exception>
#include <functional>
#include <map>

namespace krxservice {

namespace {

/// A refusal's status is the exit code here.
int told(const Refusal& refusal)
{
    output::refuse(refusal.text);
    return refusal.status;
}

/// All was done, and a power cut may still undo it.
void warn(const std::string& reason)
{
    if (!reason.empty())
        output::refuse("it is done, but the disk does not promise to keep it: " + reason);
}

int makeBackup(const Options& options, const std::string& version)
{
    const auto made = backup::make(options.dataFolder, options.operands.front(), version);
    if (!made)
        return told(made.refusal());
    warn(made->warning);
    output::print("backed up " + options.dataFolder + " to " + made->folder + ", with " +
                  std::to_string(made->documents) + " output documents\n");
    return commands::kDone;
}

int restoreBackup(const Options& options)
{
    const auto done =
        backup::restore(options.operands.front(), options.dataFolder, options.wants("set-aside"));
    if (!done)
        return told(done.refusal());
    if (!done->keptAs.empty())
        output::print("the former data are kept as " + done->keptAs + '\n');
    warn(done->warning);
    output::print("restored " + done->folder + ", with " + std::to_string(done->documents) +
                  " output documents\n");
    return commands::kDone;
}

} // namespace

int commands::diagnose(const Options& options, const std::string& version)
{
    const auto reason = diagnosis::write(options.diagnosisFile, options, version, options.isRedacted);
    if (!reason.empty())
        return told({kFailure, reason});
    output::print("wrote " + options.diagnosisFile + "\n");
    return kDone;
}

int commands::run(const Options& options, const std::string& version)
{
    const std::map<std::string, std::function<int()>> table = {
        {"status", [&] { return status(options); }},
        {"jobs", [&] { return jobs(options); }},
        {"clips", [&] { return clips(options); }},
        {"errors", [&] { return errors(options); }},
        {"retry", [&] { return retry(options); }},
        {"cancel", [&] { return cancel(options); }},
        {"dry-run", [&] { return dryRun(options); }},
        {"backup", [&] { return makeBackup(options, version); }},
        {"restore", [&] { return restoreBackup(options); }},
    };
    try {
        return table.at(options.command)();
    } catch (const std::exception& failure) {
        output::refuse(failure.what());
        return kFailure;
    }
}

} // namespace krxservice
