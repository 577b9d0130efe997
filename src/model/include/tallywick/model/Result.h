// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <utility>
#include <variant>

namespace tallywick {

// The error of a Result, wrapped so that a Result whose value and error have
// the same type (Result<std::string, std::string>) still reads one way.
template <class E>
struct Failed {
    E error;
};

template <class E>
Failed<std::decay_t<E>> fail(E&& error) {
    return {std::forward<E>(error)};
}

namespace detail {
template <class T>
inline constexpr bool isFailed = false;
template <class E>
inline constexpr bool isFailed<Failed<E>> = true;

template <class U, class T, class Self>
concept ValueFor = std::is_constructible_v<T, U&&> && !std::is_same_v<std::remove_cvref_t<U>, Self> &&
                   !isFailed<std::remove_cvref_t<U>>;
template <class G, class E>
concept ErrorFor = std::is_constructible_v<E, G&&>;

// Reading the side a Result does not hold is a programming error: stop at
// once, in every build, rather than read garbage or throw across a folder.
inline void require(bool held, const char* what) {
    if (held) [[likely]]
        return;
    std::fputs(what, stderr);
    std::abort();
}
}  // namespace detail

// A value, or the error that stands in its place: our std::expected.
// Result<void, E> is success carrying nothing, or the error.
template <class T, class E>
class [[nodiscard]] Result {
public:
    using value_type = T;
    using error_type = E;

    Result() = default;  // a default value, when T has one

    // enable_if rather than a constraint, which the forwarding-reference
    // lint cannot see: Result itself never matches, so copy and move stay.
    template <class U = T, std::enable_if_t<detail::ValueFor<U, T, Result>, int> = 0>
    explicit(!std::is_convertible_v<U&&, T>) Result(U&& value)
        : state_(std::in_place_index<0>, std::forward<U>(value)) {}

    template <detail::ErrorFor<E> G>
    Result(Failed<G> failed) : state_(std::in_place_index<1>, std::move(failed.error)) {}

    bool has_value() const { return state_.index() == 0; }
    explicit operator bool() const { return has_value(); }

    T& value() & { return *held<0>(this, "value() of a failed Result\n"); }
    const T& value() const& { return *held<0>(this, "value() of a failed Result\n"); }
    T&& value() && { return std::move(*held<0>(this, "value() of a failed Result\n")); }
    E& error() & { return *held<1>(this, "error() of a successful Result\n"); }
    const E& error() const& { return *held<1>(this, "error() of a successful Result\n"); }
    E&& error() && { return std::move(*held<1>(this, "error() of a successful Result\n")); }

    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    template <class U>
    T value_or(U&& fallback) const& {
        return has_value() ? value() : static_cast<T>(std::forward<U>(fallback));
    }
    template <class U>
    T value_or(U&& fallback) && {
        return has_value() ? std::move(*this).value() : static_cast<T>(std::forward<U>(fallback));
    }

    friend bool operator==(const Result&, const Result&) = default;

private:
    template <std::size_t I, class Self>
    static auto* held(Self* self, const char* what) {
        detail::require(self->state_.index() == I, what);
        return std::get_if<I>(&self->state_);
    }

    std::variant<T, E> state_;
};

template <class E>
class [[nodiscard]] Result<void, E> {
public:
    using value_type = void;
    using error_type = E;

    Result() = default;
    template <detail::ErrorFor<E> G>
    Result(Failed<G> failed) : state_(std::in_place_index<1>, std::move(failed.error)) {}

    bool has_value() const { return state_.index() == 0; }
    explicit operator bool() const { return has_value(); }
    void value() const { detail::require(has_value(), "value() of a failed Result\n"); }

    E& error() & { return *held(this); }
    const E& error() const& { return *held(this); }
    E&& error() && { return std::move(*held(this)); }

    friend bool operator==(const Result&, const Result&) = default;

private:
    template <class Self>
    static auto* held(Self* self) {
        detail::require(self->state_.index() == 1, "error() of a successful Result\n");
        return std::get_if<1>(&self->state_);
    }

    std::variant<std::monostate, E> state_;
};

}  // namespace tallywick
