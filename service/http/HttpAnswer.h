#pragma once

#include "base/Outcome.h"

#include <functional>
#include <string>

namespace krxservice {

/// What is sent back.
struct HttpAnswer
{
    /// Takes the answer that was not there yet. From any thread, once; after the connection or the listener
    /// is gone it does nothing.
    using Sender = std::function<void(HttpAnswer)>;

    int status = 200;
    std::string type; ///< content type; may be empty when there is no body
    std::string body;
    std::string allow; ///< the methods of the resource, with status 405
    /// Set by a request that waits for something to happen: called once with the way to answer later. Until
    /// then the connection costs no thread, and all else here is ignored.
    std::function<void(Sender)> later;

    static HttpAnswer xml(std::string document, int status = 200);
    static HttpAnswer refused(const Refusal& refusal);
};

} // namespace krxservice
