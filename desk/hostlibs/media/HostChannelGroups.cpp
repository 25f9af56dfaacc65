#include "HostCore.h"
#include "HostMediaEngine.h"
#include "StandInMedia.h"

namespace {

constexpr char kNone[] = QT_TRID_NOOP("None");
constexpr char kUnreadable[] = QT_TRID_NOOP("Unknown grouping: %1");

QString localised(const char* key)
{
    return HostCore::translateText(QString::fromUtf8(key));
}

} // namespace

namespace HostMediaEngine {

ChannelGroups channelGroupsFromText(const QString& text)
{
    QList<StandInHost::ChannelGroup> groups;
    if (!StandInHost::parseChannelGroups(text, groups))
        return {text, localised(kUnreadable).arg(text)};
    if (groups.isEmpty())
        return {text, localised(kNone)};
    QStringList shown;
    for (const StandInHost::ChannelGroup& group : qAsConst(groups)) {
        // An en dash between the numbers, as people write ranges.
        shown.append(QStringLiteral("%1\u2013%2 %3")
                         .arg(QString::number(group.first), QString::number(group.last()), group.layout));
    }
    return {text, shown.join(QLatin1String(", "))};
}

} // namespace HostMediaEngine
