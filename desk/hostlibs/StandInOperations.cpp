#include "StandInHost.h"

namespace StandInHost {

const HostOperations& operations()
{
    static const HostOperations table = hostOperationsImplementedHere();
    return table;
}

} // namespace StandInHost
