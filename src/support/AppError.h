// Errors as values: what failed (for the log) and a localised description (for the user).
#pragma once

#include <QString>
#include <optional>
#include <utility>

struct AppError {
    QString typeName;     // the kind of error, e.g. "POSIXError"; reaches the log
    QString domain;       // the family of codes, e.g. "NSPOSIXErrorDomain"; reaches the log
    qint64 code = 0;      // reaches the log
    QString description;  // localised text for the user; never logged
    QString subject = {}; // the path or id the error concerns, for callers that act on it; never logged

    bool operator==(const AppError&) const = default;

    // An error from the operating system; `description` defaults to the system's text.
    static AppError posix(int errnoValue, const QString& description = {});
};

// A value or the error that prevented it. Services return these instead of throwing.
template <typename T> class Expected {
public:
    Expected(T value) : m_value(std::move(value)) {}
    Expected(AppError error) : m_error(std::move(error)) {}

    bool hasValue() const { return m_value.has_value(); }
    explicit operator bool() const { return hasValue(); }
    T& operator*() { return *m_value; }
    const T& operator*() const { return *m_value; }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }
    const AppError& error() const { return m_error; }

private:
    std::optional<T> m_value;
    AppError m_error;
};

template <> class Expected<void> {
public:
    Expected() = default;
    Expected(AppError error) : m_error(std::move(error)), m_failed(true) {}

    bool hasValue() const { return !m_failed; }
    explicit operator bool() const { return !m_failed; }
    const AppError& error() const { return m_error; }

private:
    AppError m_error;
    bool m_failed = false;
};
