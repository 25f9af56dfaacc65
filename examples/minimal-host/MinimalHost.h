#pragma once

#include <HostComponentFactory.h>

/// This host's factory, which makes its REST client.
HostStatus restClientFactory(const HostIdentifier& factoryId, IHostComponentFactory** out);
