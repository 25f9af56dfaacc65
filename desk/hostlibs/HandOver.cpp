#include "StandInHost.h"

#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

/// The module's entry (KRXHost.h). It is named here because this library knows the contract and not the
/// module.
extern "C" bool krxTakeHost(const HostOperations* operations, QString* why);

namespace {

/// A program that has no panel to show need not start.
bool handOver()
{
    if (krxTakeHost(&StandInHost::operations(), nullptr))
        return true;
    std::_Exit(EXIT_FAILURE);
}

const bool isHandedOver = handOver();

} // namespace
