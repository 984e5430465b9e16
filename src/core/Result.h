#pragma once

#include <QString>

#include <utility>
#include <variant>

// A failure reported by the operating system: its errno and its own text.
struct SystemError {
    int code = 0;
    QString text;

    static SystemError fromErrno(int code);
    QString description() const { return text; }
    bool operator==(const SystemError&) const = default;
};

// The error side of a Result. Wrapping it keeps Result<T, E> unambiguous even
// when T and E are the same type.
template <typename E> struct Failure { E error; };

template <typename E> Failure<std::decay_t<E>> fail(E&& error) {
    return {std::forward<E>(error)};
}

// A value or the reason it could not be had. Services return this instead of
// throwing; commands turn the error's description() into the message the user reads.
template <typename T, typename E> class [[nodiscard]] Result {
public:
    Result(T value)
        : m_state(std::in_place_index<0>, std::move(value)) {}
    template <typename F>
    Result(Failure<F> failure)
        : m_state(std::in_place_index<1>, E(std::move(failure.error))) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<0>(m_state); }
    const T& value() const& { return std::get<0>(m_state); }
    T&& value() && { return std::get<0>(std::move(m_state)); }
    const E& error() const { return std::get<1>(m_state); }

    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

private:
    std::variant<T, E> m_state;
};

// The success of an operation that gives nothing back.
struct Done {
    bool operator==(const Done&) const = default;
};
