// A loop over constant indices: how the codecs walk a row.
//
// The walk is only as fast as code written by hand if all of it ends up in one function, with values in registers. Left
// to itself the compiler makes a call per field of it, and reloads what a lambda has captured after every byte that is
// stored. So everything on the entry path is VL_INLINE, and the lambdas of a walk are VL_INLINE_LAMBDA.
#pragma once

#include <cstddef>
#include <utility>

// Under a sanitizer, where nobody asks for speed, the compiler may choose: that halves the time of the build.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VL_INLINE inline
#define VL_INLINE_LAMBDA
#else
#define VL_INLINE [[gnu::always_inline]] inline
#define VL_INLINE_LAMBDA __attribute__((always_inline))
#endif

namespace vl_pd {

// Calls visit.operator()<0>() to visit.operator()<count - 1>().
template <size_t count, class Visit>
VL_INLINE void unroll([[maybe_unused]] Visit visit) {
    [&]<size_t... i>(std::index_sequence<i...>) VL_INLINE_LAMBDA {
        (visit.template operator()<i>(), ...);
    }
    (std::make_index_sequence<count>());
}

} // namespace vl_pd
