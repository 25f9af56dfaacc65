#pragma once

#include "HostOperations.h"
#include "KRXExport.h"

class QString;

/// Takes the operations of the host. To be called once, before anything else of the module.
/// \param operations copied; see hostOperationsImplementedHere().
/// \param why receives one sentence for a person when the table is refused; may be null. It is logged
/// besides. \return false when there is no table, an operation is missing (all of them are named), the host
/// is of another Qt, or another table was taken before. What was taken before stays.
extern "C" KRX_EXPORT bool krxTakeHost(const HostOperations* operations, QString* why);
