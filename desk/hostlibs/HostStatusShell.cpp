#include "HostStatusShell.h"
