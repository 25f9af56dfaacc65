#include "base/ConfigFile.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <toml++/toml.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>

namespace krxservice {

namespace {

constexpr off_t kLargest = off_t{1} << 20; ///< bytes

/// The whole text of a file that only the own user or root can have written.
Outcome<std::string> content(const std::string& path, bool mustExist)
{
    // Without blocking, for whatever stands there: a pipe would be waited for.
    const filetools::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen() && errno == ENOENT && !mustExist)
        return std::string();
    struct stat facts
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &facts) != 0)
        return Refusal{2, path + ": " + text::errnoText(errno)};
    if (!S_ISREG(facts.st_mode))
        return Refusal{2, path + " is no file"};
    if (facts.st_uid != ::geteuid() && facts.st_uid != 0)
        return Refusal{2, path + " belongs to another user"};
    if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return Refusal{2, path + " can be written to by others"};
    if (facts.st_size > kLargest)
        return Refusal{2, path + " is too large for a configuration file"};
    std::string whole;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer.data(), buffer.size());
        if (got < 0 && errno != EINTR)
            return Refusal{2, path + ": " + text::errnoText(errno)};
        if (got == 0)
            return whole;
        if (got > 0)
            whole.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

/// The text of a plain value as it would stand on a command line; false for tables and times.
bool textOf(const toml::node& node, std::string& text)
{
    if (const auto* string = node.as_string())
        text = string->get();
    else if (const auto* number = node.as_integer())
        text = std::to_string(number->get());
    else if (const auto* flag = node.as_boolean())
        text = flag->get() ? "true" : "false";
    else if (const auto* real = node.as_floating_point()) {
        std::ostringstream out;
        out.imbue(std::locale::classic());
        out << real->get();
        text = out.str();
    } else
        return false;
    return true;
}

} // namespace

Outcome<ConfigFile> ConfigFile::read(const std::string& path, bool mustExist)
{
    const auto whole = content(path, mustExist);
    if (!whole)
        return whole.refusal();
    ConfigFile file;
    const auto at = [&path](unsigned line) { return path + ':' + std::to_string(line) + ": "; };
    try {
        const toml::table table = toml::parse(*whole, path);
        for (const auto& [key, node] : table) {
            Entry entry{std::string(key.str()), {}, node.source().begin.line};
            std::string value;
            bool plain = true;
            if (const auto* list = node.as_array()) {
                for (const auto& element : *list) {
                    plain = plain && textOf(element, value);
                    entry.values.push_back(value);
                }
            } else {
                plain = textOf(node, value);
                entry.values.push_back(value);
            }
            if (!plain)
                return Refusal{2, at(entry.line) + '"' + entry.key + "\" has no plain value"};
            file.entries.push_back(std::move(entry));
        }
    } catch (const toml::parse_error& error) {
        return Refusal{2, at(error.source().begin.line) + std::string(error.description())};
    }
    std::sort(file.entries.begin(), file.entries.end(),
              [](const Entry& a, const Entry& b) { return a.line < b.line; });
    return file;
}

} // namespace krxservice
