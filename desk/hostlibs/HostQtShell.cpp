#include "HostQtShell.h"
