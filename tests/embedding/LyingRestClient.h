#pragma once

#include "HostComponentFactory.h"

/// A REST client on plain sockets that breaks its word in one place at a time.
namespace LyingRestClient {

enum class Lie {
    None,
    // The way to the client
    MakesUnknownClass,
    MakesNoClient,
    ClientMiscounts,
    // Requests
    ReservedOfClient,
    GetHasNoResponse,
    PostHasNoResponse,
    PutHasNoResponse,
    DeleteHasNoResponse,
    SendsOtherMethod,
    SendsOtherHost,
    SendsPlainText,
    SendsWholeBuffer,
    SendsLater,
    // A good answer
    WaitFails,
    IsNeverComplete,
    GoodIsFailure,
    HasNoStatus,
    SaysOtherStatus,
    SaysOtherLength,
    ReadsBeyondBuffer,
    SaysMoreThanRead,
    GoesOnReading,
    ReservedOfResponse,
    // A refusal
    RefusalIsSuccess,
    RefusalIsStatus200,
    RefusalHasNoMessage,
    // An answer that does not come
    WaitEndsAtOnce,
    // Nobody there
    NobodyIsNoResponse,
    NobodyNeverFinishes,
    NobodyIsSuccess,
    NobodyHasStatus,
    NobodyHasNoMessage
};

/// What the client lies about from now on.
/// \param slot where the lie is about reserved slots: which one, else 0.
void tell(Lie lie, int slot = 0);

/// This client's factory, to be a host's getComponentFactory.
HostStatus factory(const HostIdentifier& factoryId, IHostComponentFactory** out);

} // namespace LyingRestClient
