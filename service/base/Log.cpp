#include "base/Log.h"

#include "base/Text.h"

#include <cstdio>
#include <string>

namespace krxservice::log {

namespace {

void write(const char* level, std::string_view text)
{
    // One call per line, so that lines of several threads never mix.
    const std::string line =
        text::isoTime(text::now()) + ' ' + level + ' ' + text::xmlClean(text::oneLine(text)) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void info(std::string_view text)
{
    write("info ", text);
}

void warning(std::string_view text)
{
    write("warn ", text);
}

void error(std::string_view text)
{
    write("error", text);
}

} // namespace krxservice::log
