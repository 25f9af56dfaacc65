#include "PathsInText.h"

#include <algorithm>
#include <array>

namespace pathsintext {

namespace {

/// How sentences about a file begin before they name its path; one may begin with the path itself.
constexpr std::array<const char*, 5> kBefore = {"The file ", "The clip ", "The job for ", "The output for ",
                                                ""};
/// How they go on behind it.
constexpr std::array<const char*, 8> kBehind = {" is not offered", " failed", " cannot be ", " could not be ",
                                                " was not ",       " is ",    " to ",        ": "};

bool isBeside(QChar mark)
{
    return mark.isSpace() || QStringLiteral(":;,()\"'").contains(mark);
}

bool mayBegin(const QString& text, int position)
{
    return text.at(position) == QLatin1Char('/') && (position == 0 || isBeside(text.at(position - 1)));
}

bool mayEnd(const QString& text, int position)
{
    if (position == text.size() || isBeside(text.at(position)))
        return true;
    const bool isLast = position + 1 == text.size() || text.at(position + 1).isSpace();
    return text.at(position) == QLatin1Char('.') && isLast;
}

QString longestIn(const QString& text, const IsKnown& isKnown, bool mayGoOn)
{
    for (int start = 0; start < text.size(); ++start) {
        if (!mayBegin(text, start))
            continue;
        for (int end = text.size(); end > start; --end) {
            const bool isWhole = mayEnd(text, end) || (mayGoOn && text.at(end) == QLatin1Char('/'));
            const QString path = isWhole ? text.mid(start, end - start) : QString();
            if (isWhole && isKnown(path))
                return path;
        }
    }
    return {};
}

} // namespace

QString pathIn(const QString& text, const IsKnown& isKnown)
{
    return longestIn(text, isKnown, false);
}

QString folderIn(const QString& text, const QSet<QString>& folders)
{
    return longestIn(
        text, [&folders](const QString& path) { return folders.contains(path); }, true);
}

QString folderOf(const QString& path, const QSet<QString>& folders)
{
    for (int end = path.lastIndexOf(QLatin1Char('/')); end > 0;
         end = path.lastIndexOf(QLatin1Char('/'), end - 1)) {
        if (folders.contains(path.left(end)))
            return path.left(end);
    }
    return {};
}

QString fileIn(const QString& text, const QString& folder)
{
    int from = -1;
    if (!folder.isEmpty()) {
        from = text.indexOf(QString(folder + QLatin1Char('/')));
        from = from < 0 ? -1 : from + folder.size();
    } else {
        const auto words = std::find_if(kBefore.begin(), kBefore.end(), [&text](const char* before) {
            return text.startsWith(QString(QLatin1String(before) + QLatin1Char('/')));
        });
        from = words == kBefore.end() ? -1 : QLatin1String(*words).size();
    }
    if (from < 0)
        return {};
    int end = text.size();
    for (const char* words : kBehind) {
        const int at = text.indexOf(QLatin1String(words), from);
        end = at < 0 ? end : std::min(end, at);
    }
    const QString path = text.left(end);
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace pathsintext
