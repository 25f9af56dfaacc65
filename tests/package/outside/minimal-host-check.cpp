#include "MinimalHost.h"

#include <HostCheck.h>
#include <HostDefaults.h>

HostOperations krxHostToCheck()
{
    HostOperations host = HostDefaults::operations();
    host.getComponentFactory = &restClientFactory;
    return host;
}
