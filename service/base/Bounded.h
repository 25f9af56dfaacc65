#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace krxservice {

/// Runs \a work, which asks a disk that may never answer, on a thread of its own. \return its result, or
/// nothing when there is none after \a patience. Then the work goes on by itself and its result is dropped,
/// so it must hold by value all that it uses, and change nothing.
template <typename Result>
std::optional<Result> within(std::chrono::milliseconds patience, std::function<Result()> work)
{
    constexpr int kMostLeft = 32; // threads that hang already
    static std::atomic<int> left{0};
    if (left >= kMostLeft)
        return std::nullopt;
    ++left;
    auto promise = std::make_shared<std::promise<Result>>();
    auto result = promise->get_future();
    try {
        std::thread([promise, work = std::move(work)] {
            promise->set_value(work());
            --left;
        }).detach();
    } catch (const std::system_error&) {
        --left;
        return std::nullopt;
    }
    if (result.wait_for(patience) != std::future_status::ready)
        return std::nullopt;
    return result.get();
}

} // namespace krxservice
