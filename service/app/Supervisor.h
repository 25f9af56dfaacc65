#pragma once

#include <chrono>
#include <string_view>
#include <vector>

namespace krxservice {

/// What a service manager that started the program asks of it, by the environment: to be told how it goes, to
/// be shown signs of life, and to listen on sockets that it made. Without one, nothing here does anything.
namespace supervisor {

/// Sends lines of VARIABLE=VALUE to the manager.
void notify(std::string_view lines);

/// How often signs of life are expected; zero when none are.
std::chrono::microseconds watchdogInterval();

/// The listening sockets that the manager made for this process; they are the caller's from then on. Only the
/// first call finds any.
std::vector<int> takeSockets();

} // namespace supervisor

} // namespace krxservice
