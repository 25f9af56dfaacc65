#include "HostMediaEngine.h"

namespace HostMediaEngine {

ChannelGroups channelGroupsFromText(const QString& text)
{
    return {text, text};
}

} // namespace HostMediaEngine
