// A loop over constant indices: how the codec walks a row.
//
// A walk is as fast as code written by hand only if all of it ends up in one function, with its values in registers. A
// compiler that is free to choose makes calls in long walks, and reloads a lambda's captures after each byte that it
// stores. Functions and lambdas are forced inline only where g++ or clang would otherwise make different code.
#pragma once

#include <cstddef>
#include <utility>

// Speed doesn't matter under a sanitizer. There the compiler may choose, which halves the time of the build. g++ and
// clang announce a sanitizer in different ways.
#if defined(__has_feature)
#define VL_HAS_SANITIZER (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VL_HAS_SANITIZER 1
#else
#define VL_HAS_SANITIZER 0
#endif
#if VL_HAS_SANITIZER
#define VL_INLINE inline
#define VL_INLINE_LAMBDA
#else
#define VL_INLINE [[gnu::always_inline]] inline
#define VL_INLINE_LAMBDA __attribute__((always_inline))
#endif

namespace vl_pd {

// A constant that is passed as an argument: visit(constant<7>) knows the 7 at compile time.
template <auto value>
inline constexpr std::integral_constant<decltype(value), value> constant;

// Calls visit(constant<0>) to visit(constant<count - 1>).
template <size_t count, class Visit>
VL_INLINE void unroll([[maybe_unused]] Visit visit) {
    [&]<size_t... i>(std::index_sequence<i...>) VL_INLINE_LAMBDA {
        (visit(constant<i>), ...);
    }
    (std::make_index_sequence<count>());
}

} // namespace vl_pd
