#include "base/CommandLine.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <sstream>
#include <string_view>

namespace krxservice::commandline {

namespace {

constexpr std::size_t kColumn = 22; ///< where the texts of --help begin

constexpr std::size_t kMany = 1000; ///< operands

constexpr char kPurpose[] = "watches folders and offers their finished clips to the editor";

/// What is to be said beside the options.
struct Section
{
    const char* title;
    const char* text;
};

constexpr std::array kSections = {
    Section{"CONFIGURATION",
            "The configuration file is TOML with the names above as keys (port = 58885). Each option\n"
            "is also an environment variable (KRX_SERVICE_NO_PORT=true). The command line wins over\n"
            "the environment, the environment over the file.\n"},
    Section{"ENVIRONMENT",
            "KRX_SERVICE_...\n   the options, as above\n"
            "KRX_CONNECT_USER\n   the user whose service the commands may ask besides the own one\n"},
    Section{"SIGNALS",
            "When it is ready it prints \"listening on http://127.0.0.1:PORT\" (or the socket's path).\n"
            "SIGTERM ends it; SIGHUP ends it when it runs in a terminal, otherwise it reads its\n"
            "configuration again.\n"},
    Section{"EXIT STATUS",
            "It ends with 0 when told to, 2 for a wrong command line or configuration, 3 when the\n"
            "port, the socket or the data folder is in use by another instance, 1 for every other\n"
            "failure (and for what --check finds). A command ends with 4 when no service of this user\n"
            "runs there, otherwise with 0 or 1.\n"},
};

/// One line: fields divided by tabs.
std::string line(std::initializer_list<std::string_view> fields)
{
    std::string result;
    for (const std::string_view field : fields) {
        result += result.empty() ? "" : "\t";
        for (const char c : field)
            result += c == '\n' ? "\\n" : c == '\t' ? " " : std::string(1, c);
    }
    return result + '\n';
}

void addRow(std::string& result, std::string begin, const std::string& help)
{
    std::istringstream lines(help);
    for (std::string text; std::getline(lines, text); begin.clear()) {
        begin.resize(std::max(kColumn, begin.size() + 1), ' ');
        result += begin + text + '\n';
    }
}

std::string shown(const OptionText& option)
{
    return std::string("  --") + option.name + (option.argument ? std::string(" ") + option.argument : "");
}

std::string shown(const Command& command)
{
    return std::string(command.name) + (*command.operands ? std::string(" ") + command.operands : "");
}

} // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> table = {
        {"status", "", 0, 0, "", "tell whether the service runs, and how it goes", {"json"}},
        {"jobs", "", 0, 0, "", "list the jobs", {"manual", "json"}},
        {"clips",
         "",
         0,
         0,
         "",
         "list clips, and where each is on its way",
         {"folder", "job", "state", "offset", "limit", "json"}},
        {"errors", "", 0, 0, "", "list what a person should know", {"clear", "json"}},
        {"retry",
         "[JOB...]",
         0,
         kMany,
         "",
         "submit jobs again that failed or were cancelled",
         {"all", "json"}},
        {"cancel", "[JOB...]", 0, kMany, "", "cancel jobs that are not finished", {"all", "json"}},
        {"dry-run",
         "PROFILE PATH",
         2,
         2,
         "file",
         "say what the profile (its id or name) would do to the file\nPATH, and do nothing",
         {"json"}},
        {"backup",
         "DIR",
         1,
         1,
         "dir",
         "copy database and output documents to the new folder DIR, as\nthey are at one moment; the service "
         "may run meanwhile",
         {}},
        {"restore",
         "DIR",
         1,
         1,
         "dir",
         "take the backup in DIR back into the data folder (--data),\neverything or nothing; the service "
         "must not run",
         {"set-aside"}},
    };
    return table;
}

const std::vector<OptionText>& commandOptions()
{
    static const std::vector<OptionText> table = {
        {"json", nullptr, "", "write for programs"},
        {"manual", nullptr, "", "only jobs that somebody asked for"},
        {"folder", "ID", "", "clips of the folder of this id or path"},
        {"job", "ID", "", "clips of this job"},
        {"state", "A,B",
         "FOUND|GROWING|OPEN|SETTLING|WAITING|ACTING|PUBLISHING|OFFERED|TAKEN|FAILED|REJECTED|GONE",
         "clips in one of these states"},
        {"offset", "N", "", "from the Nth clip on (0)"},
        {"limit", "M", "", "at most so many clips (100, at most 1000)"},
        {"clear", nullptr, "", "empty the list in the same moment"},
        {"all", nullptr, "", "all jobs that it fits"},
        {"set-aside", nullptr, "", "keep what is in the data folder already beside it"},
    };
    return table;
}

const Command* commandCalled(const std::string& name)
{
    for (const Command& command : commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

bool takes(const Command& command, const std::string& option)
{
    return std::any_of(command.options.begin(), command.options.end(),
                       [&](const char* name) { return option == name; });
}

std::string helpText(const std::vector<OptionText>& options)
{
    std::string result = "Usage: krx-service [options]\n";
    if (!commands().empty())
        result += "       krx-service COMMAND [operands] [options]\n";
    result += std::string("krx-service ") + kPurpose + ".\n\nOptions:\n";
    for (const OptionText& option : options)
        addRow(result, shown(option), option.help);
    if (!commands().empty())
        result += "\nCommands:\n";
    for (const Command& command : commands())
        addRow(result, "  " + shown(command), command.help);
    if (!commandOptions().empty())
        result += "\nOptions of commands:\n";
    for (const OptionText& option : commandOptions())
        addRow(result, shown(option), option.help);
    for (const Section& section : kSections)
        result += std::string("\n") + section.text;
    return result;
}

std::string description(const std::vector<OptionText>& options, const std::string& version)
{
    std::string result = line({"program", "krx-service", kPurpose, version});
    const auto optionLine = [](const char* kind, std::string_view command, const OptionText& option) {
        return line(
            {kind, command, option.name, option.argument ? option.argument : "", option.values, option.help});
    };
    for (const OptionText& option : options)
        result += optionLine("option", "", option);
    for (const Command& command : commands()) {
        result += line({"command", command.name, command.operands, command.values, command.help});
        for (const OptionText& option : commandOptions()) {
            if (takes(command, option.name))
                result += optionLine("option", command.name, option);
        }
    }
    for (const Section& section : kSections)
        result += line({"section", section.title, section.text});
    result += line({"section", "FILES",
                    "$XDG_CONFIG_HOME/krx-service/config.toml\n   the configuration\n"
                    "$XDG_RUNTIME_DIR/krx-service/socket\n   the Unix socket\n"
                    "$XDG_DATA_HOME/krx-service\n   database and outputs\n"
                    "$XDG_STATE_HOME/krx-service/krx-service.log\n   the log\n"});
    return result + line({"see", "krx-desk"});
}

} // namespace krxservice::commandline
