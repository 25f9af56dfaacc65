#pragma once

#include <QtGlobal>

#include <exception>
#include <utility>

/// Keeps exceptions inside the module.
namespace KRXBoundary {

/// Runs \a work, which may reach the service. An exception (the host broke the contract of its component
/// factory) is logged and ends the work; it must not pass through the host's event loop.
/// \param where what was going on, for the log. \return false when an exception ended the work.
template <class Work>
bool contain(const char* where, Work&& work) noexcept
{
    try {
        std::forward<Work>(work)();
        return true;
    } catch (const std::exception& error) {
        qWarning("KRX Folders: %s was given up: %s", where, error.what());
    } catch (...) {
        qWarning("KRX Folders: %s was given up for an unknown reason", where);
    }
    return false;
}

} // namespace KRXBoundary
