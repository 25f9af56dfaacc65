#include "ChannelGroups.h"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>

namespace KRXCatalogue {
namespace {

struct Layout
{
    const char* name;
    int tracks;
};

/// Technical names, the same in every language.
constexpr Layout kLayouts[] = {
    {"Stereo", 2}, {"LCR", 3}, {"Quad", 4}, {"LCRS", 4}, {"5.0", 5}, {"5.1", 6}, {"6.1", 7}, {"7.1", 8},
};

bool isGroupSound(const ChannelGroup& group, int lastTrack)
{
    return group.first > lastTrack && group.last() <= kMaxAudioTracks &&
           channelLayoutTracks(group.layout) == group.count;
}

bool parseGroup(const QString& text, ChannelGroup& group)
{
    static const QRegularExpression form(
        QStringLiteral("^([1-9][0-9]{0,2})-([1-9][0-9]{0,2}):([0-9A-Za-z.]+)$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return false;
    group.first = match.captured(1).toInt();
    group.count = match.captured(2).toInt() - group.first + 1;
    group.layout = match.captured(3);
    return true;
}

} // namespace

QStringList channelLayouts()
{
    QStringList names;
    for (const Layout& layout : kLayouts)
        names.append(QLatin1String(layout.name));
    return names;
}

int channelLayoutTracks(const QString& name)
{
    const auto found = std::find_if(std::begin(kLayouts), std::end(kLayouts), [&name](const Layout& layout) {
        return name == QLatin1String(layout.name);
    });
    return found == std::end(kLayouts) ? 0 : found->tracks;
}

bool parseChannelGroups(const QString& text, QList<ChannelGroup>& groups)
{
    QList<ChannelGroup> parsed;
    if (text != QLatin1String(kNoChannelGroups)) {
        int lastTrack = 0;
        const QStringList parts = text.split(QLatin1Char(';'));
        for (const QString& part : parts) {
            ChannelGroup group;
            if (!parseGroup(part, group) || !isGroupSound(group, lastTrack))
                return false;
            lastTrack = group.last();
            parsed.append(group);
        }
    }
    groups = parsed;
    return true;
}

QString channelGroupsText(const QList<ChannelGroup>& groups)
{
    QStringList parts;
    for (const ChannelGroup& group : groups) {
        parts.append(QStringLiteral("%1-%2:%3")
                         .arg(QString::number(group.first), QString::number(group.last()), group.layout));
    }
    return parts.isEmpty() ? QString::fromLatin1(kNoChannelGroups) : parts.join(QLatin1Char(';'));
}

} // namespace KRXCatalogue
