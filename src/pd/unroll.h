// A loop over constant indices: how the codecs walk a row.
#pragma once

#include <cstddef>
#include <utility>

namespace vl_pd {

// Calls visit.operator()<0>() to visit.operator()<count - 1>().
template <std::size_t count, class Visit>
[[gnu::always_inline]] inline void unroll([[maybe_unused]] Visit visit) {
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        (visit.template operator()<i>(), ...);
    }
    (std::make_index_sequence<count>());
}

} // namespace vl_pd
