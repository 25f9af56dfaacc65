#include "client/Commands.h"

#include "client/Status.h"

#include <functional>
#include <map>

namespace krxservice {

int commands::run(const Options& options, const std::string&)
{
    const std::map<std::string, std::function<int()>> table = {
        {"status", [&] { return status(options); }},
    };
    return table.at(options.command)();
}

} // namespace krxservice
