#include "base/Options.h"

#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <optional>

namespace krxservice {

namespace {

std::string defaultDataFolder()
{
    const char* base = std::getenv("XDG_DATA_HOME");
    if (base && base[0] == '/')
        return std::string(base) + "/krx-service";
    const char* home = std::getenv("HOME");
    return std::string(home && home[0] == '/' ? home : "/tmp") + "/.local/share/krx-service";
}

std::optional<double> seconds(const std::string& text, double smallest, double largest)
{
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !(value >= smallest && value <= largest))
        return std::nullopt;
    return value;
}

std::optional<int> portNumber(const std::string& text)
{
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || value < 0 || value > 65535)
        return std::nullopt;
    return value;
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

/// Puts \a value into the option called \a name; false when the value makes no sense.
bool take(Options& options, const std::string& name, const std::string& value)
{
    if (name == "--port") {
        const auto port = portNumber(value);
        options.port = port.value_or(0);
        return port.has_value();
    }
    if (name == "--data") {
        if (value.empty())
            return false;
        options.dataFolder = absolutePath(value);
        return true;
    }
    const auto number = seconds(value, 0.01, 3600);
    if (!number)
        return false;
    (name == "--settle" ? options.settleSeconds : options.rescanSeconds) = *number;
    return true;
}

bool isKnown(const std::string& name)
{
    return name == "--port" || name == "--data" || name == "--settle" || name == "--rescan";
}

} // namespace

Outcome<Options> Options::parse(const std::vector<std::string>& arguments)
{
    Options options;
    options.dataFolder = defaultDataFolder();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        if (name == "--help" || name == "-h") {
            options.wish = Wish::Help;
            return options;
        }
        if (name == "--version") {
            options.wish = Wish::Version;
            return options;
        }
        if (name == "--check") {
            options.wish = Wish::Check;
            continue;
        }
        std::optional<std::string> value;
        if (const auto equals = name.find('='); equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        if (!isKnown(name))
            return Refusal{2, "unknown option " + arguments[i] + " (--help lists the options)"};
        if (!value) {
            if (i + 1 == arguments.size())
                return Refusal{2, "the option " + name + " needs a value"};
            value = arguments[++i];
        }
        if (!take(options, name, *value))
            return Refusal{2, "\"" + *value + "\" is no value for the option " + name};
    }
    return options;
}

std::string Options::helpText()
{
    return "Usage: krx-service [options]\n"
           "Watches folders and offers their finished clips to the editor.\n"
           "\n"
           "  --port N           listen on this loopback port (58885); 0 lets the system choose\n"
           "  --data DIR         keep the database and the outputs here\n"
           "                     ($XDG_DATA_HOME/krx-service or ~/.local/share/krx-service)\n"
           "  --settle SECONDS   how long a file must stand still before it is taken (2)\n"
           "  --rescan SECONDS   how often the watched folders are read again (10)\n"
           "  --check            look whether all records and outputs in DIR agree, and end; changes "
           "nothing\n"
           "  --help             show this text\n"
           "  --version          show the version\n"
           "\n"
           "When it is ready it prints \"listening on http://127.0.0.1:PORT\". SIGTERM ends it.\n"
           "It ends with 0 when told to, 2 for a wrong command line, 3 when the port or the data\n"
           "folder is in use by another instance, 1 for every other failure (and for what --check finds).\n";
}

} // namespace krxservice
