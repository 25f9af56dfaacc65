#pragma once

#include "HostComponentFactory.h"

#include <stdexcept>

/// The host broke its contract: it reported success and gave no component factory.
class KRXComponentError : public std::runtime_error
{
public:
    explicit KRXComponentError(HostStatus status);

    /// The status that stands for the breach.
    HostStatus status() const noexcept { return m_status; }

private:
    HostStatus m_status;
};
