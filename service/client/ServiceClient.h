#pragma once

#include "base/Options.h"
#include "base/Outcome.h"

#include <pugixml.hpp>
#include <sys/types.h>

#include <string>

namespace krxservice {

/// Speaks to the service that runs, as any other client does: by its Unix socket, otherwise by its port.
///
/// It looks who is there before it says a word: it speaks to a service of its own user only, or of the user
/// whom KRX_CONNECT_USER names.
class ServiceClient
{
public:
    /// Why there is no answer, as the status of a Refusal; larger numbers are statuses of HTTP.
    enum Failure {
        kNobody = 1,  ///< no service runs there
        kForeign = 2, ///< what is there is somebody else's
        kSilent = 3,  ///< it is there and gives no answer that makes sense
    };

    /// Looks for the service where one with these \a options listens.
    explicit ServiceClient(const Options& options)
        : m_options(options)
    {
    }

    /// Sends a request for \a target (behind "/KRXService/"). The body of the answer, or the reason why there
    /// is none; what the service refuses carries its status and its words.
    Outcome<std::string> ask(const std::string& method, const std::string& target,
                             const std::string& body = {});

    /// The same, the body taken apart.
    Outcome<pugi::xml_document> askXml(const std::string& method, const std::string& target,
                                       const std::string& body = {});

    /// Where it listens, for a person; empty before the first answer.
    const std::string& place() const { return m_place; }
    /// Whose it is; meaningful after the first answer.
    uid_t owner() const { return m_owner; }

private:
    Outcome<int> connect();
    Outcome<int> connectToSocket(const std::string& path);
    Outcome<int> connectToPort();
    Outcome<int> accept(int socket, const std::string& place, uid_t owner);

    const Options& m_options;
    std::string m_place;
    uid_t m_owner = 0;
};

/// The name of a user, or the number of one without a name.
std::string userName(uid_t user);

} // namespace krxservice
