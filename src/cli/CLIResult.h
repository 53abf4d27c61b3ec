#pragma once

#include "cli/CLIError.h"

#include <QString>

#include <utility>
#include <variant>

// The outcome of one run: termination status and both streams, decoded as UTF-8 with
// invalid sequences replaced. A non-zero status is a result, not an error.
struct CLIResult {
    int exitCode = 0;
    QString standardOutput;
    QString standardError;

    bool operator==(const CLIResult &) const = default;
};

// A value or the CLIError that prevented it.
template<typename T> class CLIOutcome
{
public:
    CLIOutcome(T value)
        : m_v(std::in_place_index<0>, std::move(value))
    {
    }
    CLIOutcome(CLIError error)
        : m_v(std::in_place_index<1>, std::move(error))
    {
    }

    bool ok() const { return m_v.index() == 0; }
    explicit operator bool() const { return ok(); }
    const T &value() const { return std::get<0>(m_v); }
    T &value() { return std::get<0>(m_v); }
    const T *operator->() const { return &value(); }
    const CLIError &error() const { return std::get<1>(m_v); }

private:
    std::variant<T, CLIError> m_v;
};
