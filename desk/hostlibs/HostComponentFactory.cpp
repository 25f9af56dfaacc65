#include "StandInHost.h"
extern "C" HostStatus getComponentFactory(const HostIdentifier&, IHostComponentFactory** out)
{
    *out = nullptr;
    return kHostStatusFailed;
}
namespace StandInHost { void setComponentFactoryEntry(ComponentFactoryEntry) {} }
