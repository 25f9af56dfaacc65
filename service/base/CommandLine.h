#pragma once

#include <string>
#include <vector>

namespace krxservice {

/// What the command line offers besides running the service, and the texts about all of it: --help, and the
/// description that manual page and completion are made from. Each option and command stands in one table.
namespace commandline {

/// An option as people and shells see it.
struct OptionText
{
    const char* name;
    const char* argument; ///< null: a flag
    const char* values;   ///< for shells: "file", "dir", "user", words divided by "|", or empty
    const char* help;     ///< lines of at most 60 characters
};

/// Something that the program does instead of being the service.
struct Command
{
    const char* name;
    const char* operands; ///< as people see them; empty for none
    std::size_t least;    ///< operands
    std::size_t most;
    const char* values; ///< of the operands, for shells, as with options
    const char* help;
    std::vector<const char*> options; ///< names of those of commandOptions() that it takes
};

const std::vector<Command>& commands();
/// Those that only some commands take.
const std::vector<OptionText>& commandOptions();
/// Null when there is none of that name.
const Command* commandCalled(const std::string& name);
bool takes(const Command& command, const std::string& option);

/// What --help shows. \a options are those that every run of the program takes.
std::string helpText(const std::vector<OptionText>& options);
/// The same for programs: a line for each thing, its fields divided by tabs, line ends in them as "\n".
/// packaging/manual reads it.
std::string description(const std::vector<OptionText>& options, const std::string& version);

} // namespace commandline

} // namespace krxservice
