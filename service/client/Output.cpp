#include "client/Output.h"

#include "base/Text.h"
#include "client/Commands.h"
#include "client/ServiceClient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <cstdio>

namespace krxservice::output {

namespace {

constexpr std::size_t kGap = 2; ///< blanks between two columns

/// How many characters a terminal shows, near enough: one for each that is no continuation.
std::size_t width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

std::string table(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::vector<std::string>> clean;
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        auto& line = clean.emplace_back();
        for (const auto& cell : row) {
            line.push_back(text::xmlClean(text::oneLine(cell)));
            widths.resize(std::max(widths.size(), line.size()), 0);
            widths[line.size() - 1] = std::max(widths[line.size() - 1], width(line.back()));
        }
    }
    std::string result;
    for (const auto& line : clean) {
        std::string shown;
        for (std::size_t i = 0; i < line.size(); ++i)
            shown += line[i] + std::string(i + 1 < line.size() ? widths[i] - width(line[i]) + kGap : 0, ' ');
        while (!shown.empty() && shown.back() == ' ')
            shown.pop_back();
        result += shown + '\n';
    }
    return result;
}

QJsonValue json(const std::string& text)
{
    return QString::fromStdString(text);
}

QString key(const std::string& name)
{
    QString result;
    for (const QString& word : QString::fromStdString(name).split(QLatin1Char(' '), Qt::SkipEmptyParts))
        result += result.isEmpty() ? word : word.at(0).toUpper() + word.mid(1);
    return result;
}

void print(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void print(const QJsonValue& value)
{
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    print(document.toJson(QJsonDocument::Indented).toStdString());
}

void refuse(const std::string& reason)
{
    std::fprintf(stderr, "krx-service: %s\n", text::oneLine(reason).c_str());
}

int refuse(const Refusal& refusal)
{
    refuse(refusal.text);
    return exitCode(refusal);
}

int exitCode(const Refusal& refusal)
{
    const bool isThere =
        refusal.status != ServiceClient::kNobody && refusal.status != ServiceClient::kForeign;
    return isThere ? commands::kFailure : commands::kNotRunning;
}

std::string duration(long long seconds)
{
    constexpr long long kMinute = 60;
    constexpr long long kHour = 60 * kMinute;
    constexpr long long kDay = 24 * kHour;
    const auto both = [seconds](long long large, const char* name, long long small, const char* smallName) {
        return std::to_string(seconds / large) + ' ' + name + ' ' + std::to_string(seconds % large / small) +
               ' ' + smallName;
    };
    if (seconds >= kDay)
        return both(kDay, "d", kHour, "h");
    if (seconds >= kHour)
        return both(kHour, "h", kMinute, "min");
    return seconds >= kMinute ? both(kMinute, "min", 1, "s") : std::to_string(seconds) + " s";
}

} // namespace krxservice::output
