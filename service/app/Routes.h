#pragma once

#include "app/Service.h"
#include "http/HttpListener.h"

namespace krxservice {

/// Leads requests that passed the guard to the operations of the service and puts the results into answers.
class Routes
{
public:
    explicit Routes(Service& service)
        : m_service(service)
    {
    }

    /// Thread-safe. Never throws.
    HttpAnswer handle(const RequestHead& head, const Target& target, const std::string& body);

private:
    struct Call;

    HttpAnswer dispatch(const Call& call);
    HttpAnswer folders(const Call& call);
    HttpAnswer folder(const Call& call);
    HttpAnswer profiles(const Call& call);
    HttpAnswer profile(const Call& call);
    HttpAnswer dryRun(const Call& call);
    HttpAnswer jobs(const Call& call);
    HttpAnswer job(const Call& call);
    HttpAnswer errors(const Call& call);
    HttpAnswer activity(const Call& call);
    HttpAnswer clips(const Call& call);
    HttpAnswer changes(const Call& call);
    HttpAnswer deviceStatus(const Call& call);

    Service& m_service;
};

} // namespace krxservice
