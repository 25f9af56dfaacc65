#pragma once

#include "HostOperations.h"
#include "KRXExport.h"

class QString;

/// Takes the operations of the host. To be called once, before anything else of the module.
/// \param operations copied; see hostOperationsImplementedHere(). What lies behind the end of a table that is
/// older than the module is answered as HostDefaults does.
/// \param why receives one sentence for a person when the table is refused; may be null. Left alone when the
/// table does not say that the host has the same major Qt as the module, because texts of two Qts do not mix.
/// The sentence is logged in each case.
/// \return false when there is no table, an operation is missing (all of them are named), the host is of
/// another Qt, or another table was taken before. What was taken before stays.
extern "C" KRX_EXPORT bool krxTakeHost(const HostOperations* operations, QString* why);
