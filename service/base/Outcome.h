#pragma once

#include <optional>
#include <string>
#include <utility>

namespace krxservice {

/// Why a request is refused: an HTTP status of 4xx or 5xx and one line of text that a person can read.
struct Refusal
{
    int status = 400;
    std::string text;
};

/// Either a value or the reason why there is none.
template <typename T>
class Outcome
{
public:
    Outcome(T value)
        : m_value(std::move(value))
    {
    }
    Outcome(Refusal refusal)
        : m_refusal(std::move(refusal))
    {
    }

    explicit operator bool() const { return m_value.has_value(); }
    const T& operator*() const { return *m_value; }
    T& operator*() { return *m_value; }
    const T* operator->() const { return &*m_value; }
    T* operator->() { return &*m_value; }

    /// Meaningful only when there is no value.
    const Refusal& refusal() const { return m_refusal; }

private:
    std::optional<T> m_value;
    Refusal m_refusal;
};

} // namespace krxservice
