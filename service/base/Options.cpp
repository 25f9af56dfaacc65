#include "base/Options.h"

#include "base/CommandLine.h"
#include "base/ConfigFile.h"
#include "base/Text.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>

namespace krxservice {

namespace {

constexpr int kUsualPort = 58885;
constexpr int kMostWorkers = 32;
constexpr const char* kConfigOption = "config";
constexpr const char* kCommandLine = "command line";

struct Row
{
    const char* name;
    const char* argument; ///< null: a flag
    const char* values;   ///< for shells, as in OptionText
    bool isList;
    const char* help; ///< lines of at most 60 characters
    bool (*take)(Options&, const std::string&);
    std::string (*show)(const Options&);
};

std::optional<double> seconds(const std::string& text, double smallest, double largest)
{
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !(value >= smallest && value <= largest))
        return std::nullopt;
    return value;
}

bool takeSeconds(double& target, const std::string& text)
{
    const auto value = seconds(text, 0.01, 3600);
    target = value.value_or(target);
    return value.has_value();
}

bool takePort(Options& options, const std::string& text)
{
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, options.port);
    return error == std::errc() && rest == end && options.port >= 0 && options.port <= 65535;
}

bool takeWorkers(Options& options, const std::string& text)
{
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, options.workers);
    return error == std::errc() && rest == end && options.workers >= 0 && options.workers <= kMostWorkers;
}

/// Flags say what there is none of.
bool takeAbsence(bool& target, const std::string& text)
{
    const bool yes = text == "true" || text == "1";
    target = !yes;
    return yes || text == "false" || text == "0";
}

std::string absolutePath(const std::string& path)
{
    if (path.front() == '/')
        return path;
    char* folder = ::getcwd(nullptr, 0);
    const std::string whole = std::string(folder ? folder : "") + '/' + path;
    std::free(folder);
    return whole;
}

bool takePath(std::string& target, const std::string& text)
{
    if (text.empty())
        return false;
    target = absolutePath(text);
    return true;
}

bool takeLevel(Options& options, const std::string& text)
{
    using Level = Options::LogLevel;
    options.logLevel = text == "error" ? Level::Error : text == "warning" ? Level::Warning : Level::Info;
    return text == "info" || text == "warning" || text == "error";
}

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\u%04X", static_cast<unsigned>(c));
            result += code.data();
            continue;
        }
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::string plain(double value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value;
    return out.str();
}

std::string listed(const std::vector<std::string>& texts)
{
    std::string result;
    for (const auto& text : texts)
        result += (result.empty() ? "" : ", ") + quoted(text);
    return '[' + result + ']';
}

std::string levelName(Options::LogLevel level)
{
    constexpr std::array<const char*, 3> names = {"info", "warning", "error"};
    return names[static_cast<std::size_t>(level)];
}

constexpr std::array kRows = {
    Row{"port", "N", "", false, "listen on this loopback port (58885); 0 lets the system\nchoose", takePort,
        [](const Options& o) { return std::to_string(o.port); }},
    Row{"no-port", nullptr, "", false, "listen on the Unix socket only",
        [](Options& o, const std::string& text) { return takeAbsence(o.hasPort, text); },
        [](const Options& o) { return std::string(o.hasPort ? "false" : "true"); }},
    Row{"socket", "PATH", "file", false,
        "listen on this Unix socket, too (with the port 58885 or\nwithout a port: "
        "$XDG_RUNTIME_DIR/krx-service/socket)",
        [](Options& o, const std::string& text) {
            o.socketPath.clear();
            return text.empty() || takePath(o.socketPath, text);
        },
        [](const Options& o) { return quoted(o.socketPath); }},
    Row{"no-socket", nullptr, "", false, "listen on the port only",
        [](Options& o, const std::string& text) { return takeAbsence(o.hasSocket, text); },
        [](const Options& o) { return std::string(o.hasSocket ? "false" : "true"); }},
    Row{"allow-user", "NAME", "user", true,
        "serve this user by the port, too, with all that the own\nuser may do; may be given more than once",
        [](Options& o, const std::string& text) {
            o.allowedUsers.push_back(text);
            return !text.empty();
        },
        [](const Options& o) { return listed(o.allowedUsers); }},
    Row{"data", "DIR", "dir", false,
        "keep the database and the outputs here\n($XDG_DATA_HOME/krx-service or ~/.local/share/krx-service)",
        [](Options& o, const std::string& text) { return takePath(o.dataFolder, text); },
        [](const Options& o) { return quoted(o.dataFolder); }},
    Row{"settle", "SECONDS", "", false, "how long a file must stand still before it is taken (2)",
        [](Options& o, const std::string& text) { return takeSeconds(o.settleSeconds, text); },
        [](const Options& o) { return plain(o.settleSeconds); }},
    Row{"rescan", "SECONDS", "", false, "how often the watched folders are read again (10)",
        [](Options& o, const std::string& text) { return takeSeconds(o.rescanSeconds, text); },
        [](const Options& o) { return plain(o.rescanSeconds); }},
    Row{"workers", "N", "", false, "how many clips are worked on side by side; 0 follows the\nmachine (0)",
        takeWorkers, [](const Options& o) { return std::to_string(o.workers); }},
    Row{"history", "SECONDS", "", false,
        "how long nothing is copied into a folder before its history\nlists what was (60)",
        [](Options& o, const std::string& text) { return takeSeconds(o.historySeconds, text); },
        [](const Options& o) { return plain(o.historySeconds); }},
    Row{"log-level", "LEVEL", "info|warning|error", false,
        "the least that is logged: info (default), warning, error", takeLevel,
        [](const Options& o) { return quoted(levelName(o.logLevel)); }},
    Row{"log-file", "PATH", "file", false,
        "log into this file, too, unless the journal takes it; \"none\"\nfor no file (krx-service.log in "
        "$XDG_STATE_HOME/krx-service,\nor in the folder given by --data)",
        [](Options& o, const std::string& text) {
            o.logFile.clear();
            return text == "none" || takePath(o.logFile, text);
        },
        [](const Options& o) { return quoted(o.logFile.empty() ? "none" : o.logFile); }},
};

using Wish = Options::Wish;

/// Options that say what is to be done, and count on the command line only.
struct WishRow
{
    commandline::OptionText text;
    Wish wish;
    bool isAtOnce; ///< whatever else is said, however wrong
};

constexpr char kDiagnose[] = "diagnose";
constexpr char kRedact[] = "redact";

constexpr std::array kWishes = {
    WishRow{{"check", nullptr, "",
             "look whether all records and outputs in DIR agree, and end;\nchanges none of them"},
            Wish::Check,
            false},
    WishRow{{"print-config", nullptr, "", "show the options in force, and where each was said"},
            Wish::PrintConfig,
            false},
    WishRow{
        {kDiagnose, "FILE", "file",
         "write all that somebody who is to help needs to know into the\nnew file FILE, for its owner alone"},
        Wish::Diagnose,
        false},
    WishRow{{kRedact, nullptr, "", "of that, with stand-ins for names and paths"}, Wish::Diagnose, false},
    WishRow{{"help", nullptr, "", "show this text"}, Wish::Help, true},
    WishRow{{"version", nullptr, "", "show the version"}, Wish::Version, true},
};
constexpr char kDescribe[] = "--describe"; ///< for programs, and so in no list for people

/// What was said about one option, and where.
struct Said
{
    std::vector<std::string> values;
    std::string from;
};
using Layer = std::map<std::string, Said>;

const Row* rowOf(const std::string& name)
{
    for (const Row& row : kRows) {
        if (name == row.name)
            return &row;
    }
    return nullptr;
}

const WishRow* wishOf(const std::string& argument)
{
    for (const WishRow& row : kWishes) {
        if (!row.text.argument && argument == std::string("--") + row.text.name)
            return &row;
    }
    return nullptr;
}

/// What every run of the program takes, in the order in which people see it.
std::vector<commandline::OptionText> allOptions()
{
    std::vector<commandline::OptionText> options;
    options.reserve(std::size(kRows) + 1 + std::size(kWishes));
    for (const Row& row : kRows)
        options.push_back({row.name, row.argument, row.values, row.help});
    options.push_back({kConfigOption, "FILE", "file",
                       "read this configuration file\n($XDG_CONFIG_HOME/krx-service/config.toml)"});
    for (const WishRow& row : kWishes)
        options.push_back(row.text);
    return options;
}

std::string folderFrom(const Options::Environment& environment, const char* variable, const char* below)
{
    const char* base = environment(variable);
    if (base && base[0] == '/')
        return std::string(base) + "/krx-service";
    const char* home = environment("HOME");
    return std::string(home && home[0] == '/' ? home : "/tmp") + below + "/krx-service";
}

/// Takes a word that is no option. Nothing, or why not.
std::optional<Refusal> takeWord(const std::string& word, Options& options)
{
    if (!options.command.empty()) {
        options.operands.push_back(word);
        return std::nullopt;
    }
    if (!commandline::commandCalled(word))
        return Refusal{2, "unknown command " + word + " (--help lists the commands)"};
    options.command = word;
    options.wish = Wish::Command;
    return std::nullopt;
}

const commandline::OptionText* commandOptionCalled(const std::string& name)
{
    for (const auto& option : commandline::commandOptions()) {
        if (name == option.name)
            return &option;
    }
    return nullptr;
}

/// Why a command cannot be carried out as it was said, or nothing.
std::optional<Refusal> checkCommand(const Options& options)
{
    if (options.wish == Wish::Diagnose && options.diagnosisFile.empty())
        return Refusal{2, "the option --redact belongs to --diagnose FILE"};
    const auto* command = commandline::commandCalled(options.command);
    for (const auto& [name, value] : options.commandOptions) {
        if (!command)
            return Refusal{2, "the option --" + name + " belongs to a command (--help lists them)"};
        if (!commandline::takes(*command, name))
            return Refusal{2, "the command " + options.command + " has no option --" + name};
    }
    const std::size_t count = options.operands.size();
    if (command && (count < command->least || count > command->most))
        return Refusal{2, "the command is: krx-service " + options.command +
                              (*command->operands ? std::string(" ") + command->operands : std::string())};
    return std::nullopt;
}

/// Reads the command line into \a layer. Nothing, or why not.
std::optional<Refusal> readArguments(const std::vector<std::string>& arguments, Layer& layer,
                                     Options& options)
{
    bool onlyWords = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        if (onlyWords || name.size() < 2 || name.front() != '-') {
            if (const auto refusal = takeWord(name, options))
                return refusal;
            continue;
        }
        if (name == "--") {
            onlyWords = true;
            continue;
        }
        if (name == "-h" || name == kDescribe) {
            options.wish = name == kDescribe ? Wish::Describe : Wish::Help;
            return std::nullopt;
        }
        if (const WishRow* wish = wishOf(name)) {
            options.wish = wish->wish;
            options.isRedacted = options.isRedacted || name == std::string("--") + kRedact;
            if (wish->isAtOnce)
                return std::nullopt;
            continue;
        }
        std::optional<std::string> value;
        if (const auto equals = name.find('='); equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        const std::string key = name.rfind("--", 0) == 0 ? name.substr(2) : std::string();
        const Row* row = rowOf(key);
        const auto* own = commandOptionCalled(key);
        if (!row && !own && key != kConfigOption && key != kDiagnose)
            return Refusal{2, "unknown option " + arguments[i] + " (--help lists the options)"};
        const bool isFlag = (row && !row->argument) || (own && !own->argument);
        if (!value && isFlag)
            value = "true";
        if (!value) {
            if (i + 1 == arguments.size())
                return Refusal{2, "the option " + name + " needs a value"};
            value = arguments[++i];
        }
        if (key == kDiagnose) {
            options.wish = Wish::Diagnose;
            options.diagnosisFile = *value;
            continue;
        }
        if (own) {
            options.commandOptions[key] = *value;
            continue;
        }
        Said& said = layer[key];
        if (!row || !row->isList)
            said.values.clear();
        said.values.push_back(*value);
        said.from = kCommandLine;
    }
    return checkCommand(options);
}

std::string variableOf(const std::string& name)
{
    std::string result = "KRX_SERVICE_";
    for (const char c : name)
        result += c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

void readVariable(const Options::Environment& environment, const std::string& name, bool isList, Layer& layer)
{
    const std::string variable = variableOf(name);
    const char* text = environment(variable.c_str());
    if (!text || layer.count(name) > 0)
        return;
    Said said{{}, "environment, " + variable};
    std::istringstream pieces(text);
    for (std::string piece; isList && std::getline(pieces, piece, ',');)
        said.values.push_back(piece);
    if (!isList)
        said.values.emplace_back(text);
    layer[name] = said;
}

using Problems = std::vector<Refusal>;

/// What a file or a variable says is quoted in what is wrong with it.
Refusal onOneLine(const Refusal& refusal)
{
    return {refusal.status, text::xmlClean(text::oneLine(refusal.text))};
}

void readFile(const std::string& path, bool mustExist, Layer& layer, Problems& problems)
{
    const auto file = ConfigFile::read(path, mustExist);
    if (!file)
        return problems.push_back(onOneLine(file.refusal()));
    for (const auto& entry : file->entries) {
        const std::string where = path + ':' + std::to_string(entry.line);
        const Row* row = rowOf(entry.key);
        if (!row)
            problems.push_back(
                onOneLine({2, where + ": unknown key \"" + entry.key + "\" (--help lists the options)"}));
        else if (entry.values.size() != 1 && !row->isList)
            problems.push_back({2, where + ": \"" + entry.key + "\" has one value"});
        else if (layer.count(entry.key) == 0)
            layer[entry.key] = {entry.values, where};
    }
}

/// Changes \a options only when all that was said is right.
std::optional<Refusal> take(const Row& row, const Said& said, Options& options)
{
    Options taken = options;
    for (const auto& value : said.values) {
        if (row.take(taken, value))
            continue;
        const bool typed = said.from == kCommandLine;
        return onOneLine({2, (typed ? std::string() : said.from + ": ") + '"' + value +
                                 "\" is no value for the option --" + row.name});
    }
    options = std::move(taken);
    return std::nullopt;
}

/// Takes all that was said, in the order of the options.
void takeAll(Layer& said, const Options::Environment& environment, Options& options, Problems& problems)
{
    const bool usualData = said.count("data") == 0;
    for (const Row& row : kRows) {
        auto found = said.find(row.name);
        if (std::string_view(row.name) == "log-file") {
            options.logFile = (usualData ? folderFrom(environment, "XDG_STATE_HOME", "/.local/state")
                                         : options.dataFolder) +
                              "/krx-service.log";
        }
        if (found != said.end()) {
            if (const auto refusal = take(row, found->second, options)) {
                problems.push_back(*refusal);
                said.erase(found);
                found = said.end();
            }
        }
        options.shown.push_back(
            {row.name, row.show(options), found == said.end() ? "default" : found->second.from});
    }
    if (!options.hasPort && !options.hasSocket)
        problems.push_back({2, "with --no-port and --no-socket nobody could reach the service"});
}

} // namespace

bool Options::wantsUsualSocket() const
{
    return hasSocket && socketPath.empty() && (!hasPort || port == kUsualPort);
}

Outcome<Options> Options::parse(const std::vector<std::string>& arguments)
{
    return parse(arguments, [](const char* name) { return std::getenv(name); });
}

Outcome<Options> Options::parse(const std::vector<std::string>& arguments, const Environment& environment)
{
    Options options;
    options.dataFolder = folderFrom(environment, "XDG_DATA_HOME", "/.local/share");
    Layer said;
    if (const auto refusal = readArguments(arguments, said, options))
        return *refusal;
    if (options.wish == Wish::Help || options.wish == Wish::Version || options.wish == Wish::Describe)
        return options;
    for (const Row& row : kRows)
        readVariable(environment, row.name, row.isList, said);
    readVariable(environment, kConfigOption, false, said);
    const bool named = said.count(kConfigOption) > 0;
    const std::string file = named ? said[kConfigOption].values.back()
                                   : folderFrom(environment, "XDG_CONFIG_HOME", "/.config") + "/config.toml";
    Problems problems;
    readFile(file, named, said, problems);
    if (!problems.empty() && options.wish != Wish::Diagnose)
        return problems.front();
    takeAll(said, environment, options, problems);
    if (!problems.empty() && options.wish != Wish::Diagnose)
        return problems.front();
    for (const auto& problem : problems)
        options.problems.push_back(problem.text);
    return options;
}

std::optional<std::string> Options::value(const std::string& name) const
{
    const auto found = commandOptions.find(name);
    return found == commandOptions.end() ? std::nullopt : std::optional(found->second);
}

std::string Options::configText() const
{
    std::string result;
    for (const Shown& one : shown) {
        std::string line = one.name + " = " + one.value;
        line.resize(std::max<std::size_t>(line.size() + 1, 40), ' ');
        result += line + "# " + one.from + '\n';
    }
    return result;
}

std::string Options::helpText()
{
    return commandline::helpText(allOptions());
}

std::string Options::description(const std::string& version)
{
    return commandline::description(allOptions(), version);
}

} // namespace krxservice
