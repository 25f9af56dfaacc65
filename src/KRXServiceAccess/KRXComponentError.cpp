#include "KRXComponentError.h"

KRXComponentError::KRXComponentError(HostStatus status)
    : std::runtime_error("the host reported success but gave no component factory")
    , m_status(status)
{
}
