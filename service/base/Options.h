#pragma once

#include "base/Outcome.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// What the service was told: by its command line, its environment and its configuration file, each of which
/// wins over those behind it; what nobody said has a default.
struct Options
{
    enum class Wish { Run, Check, Help, Version, PrintConfig, Describe, Command, Diagnose };
    enum class LogLevel { Info, Warning, Error };

    /// The value of an environment variable, or null.
    using Environment = std::function<const char*(const char*)>;

    /// One option as it came out, for people.
    struct Shown
    {
        std::string name;
        std::string value; ///< as the configuration file would have it
        std::string from;  ///< where it was said
    };

    Wish wish = Wish::Run;
    std::string command;               ///< with Wish::Command
    std::vector<std::string> operands; ///< of the command
    std::map<std::string, std::string> commandOptions;
    std::string diagnosisFile; ///< with Wish::Diagnose
    bool isRedacted = false;   ///< the diagnosis
    int port = 58885;          ///< 0 lets the system choose one
    bool hasPort = true;       ///< false: the Unix socket is the only way in
    bool hasSocket = true;     ///< false: the port is the only way in
    std::string
        socketPath; ///< absolute; empty: the usual place, for the service on the usual port or without one
    std::string dataFolder;    ///< absolute; made when missing
    double settleSeconds = 2;  ///< how long a file must stand still before it is taken
    double rescanSeconds = 10; ///< how often watched folders are read again, whatever the events said
    int workers = 0;           ///< clips that are worked on side by side; 0 follows the machine
    /// How long nothing is copied into a folder before its history lists what was.
    double historySeconds = 60;
    std::vector<std::string> allowedUsers; ///< who may come by the port besides the own user and root
    LogLevel logLevel = LogLevel::Info;
    std::string logFile; ///< absolute; empty: none
    std::vector<Shown> shown;
    /// What is wrong with environment and configuration file, and was left out. With Wish::Diagnose only:
    /// whoever wants to know what is wrong must not be stopped by it.
    std::vector<std::string> problems;

    /// True when the Unix socket is to be opened at its usual place.
    bool wantsUsualSocket() const;

    /// True when the command was given the flag \a name.
    bool wants(const std::string& name) const { return commandOptions.count(name) > 0; }
    /// The value of an option of the command, or nothing.
    std::optional<std::string> value(const std::string& name) const;

    /// Reads \a arguments (without the program's name), \a environment and the configuration file. A refusal
    /// carries the text for the person, with file and line when it is about the file.
    static Outcome<Options> parse(const std::vector<std::string>& arguments, const Environment& environment);
    static Outcome<Options> parse(const std::vector<std::string>& arguments);

    static std::string helpText();
    /// The same for programs; see commandline::description().
    static std::string description(const std::string& version);
    /// The options in force as a configuration file, each with the place where it was said.
    std::string configText() const;
};

} // namespace krxservice
