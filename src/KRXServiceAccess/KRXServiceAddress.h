#pragma once

/// Where the service lives. Macros, so that whole addresses stay one literal text each.
#define KRX_SERVICE_HOST "localhost"
#define KRX_SERVICE_PORT "58885"
#define KRX_SERVICE_ADDRESS "http://" KRX_SERVICE_HOST ":" KRX_SERVICE_PORT
