// From an action handle, which a reader gets from the driver, to the action's row, which its decoder needs.
#pragma once

#include "catalog/catalog.h"
#include "pd/unroll.h"

namespace vl_pd {

// The i-th action of a table or profile as a template argument.
template <auto row, size_t i>
inline constexpr catalog::ActionRef action_of = {
    static_cast<uint16_t>(catalog::action_number(catalog::velmar_switch, row->actions.begin()[i].action))};

// Calls visit.operator()<A>() for the first action of the table or profile for which wanted.operator()<place>() holds.
// False if it holds for none.
template <auto row, class Wanted, class Visit>
VL_INLINE bool visit_first(Wanted wanted, Visit visit) {
    return [&]<size_t... i>(std::index_sequence<i...>) VL_INLINE_LAMBDA {
        return ((wanted.template operator()<i>() && (visit.template operator()<action_of<row, i>>(), true)) || ...);
    }
    (std::make_index_sequence<row->actions.size()>());
}

// The action that has this handle, or this number.
template <auto row, class Visit>
VL_INLINE bool visit_action(uint32_t action_hdl, Visit visit) {
    return visit_first<row>([=]<size_t i>() VL_INLINE_LAMBDA { return row->actions.begin()[i].handle == action_hdl; },
                            visit);
}

template <auto row, class Visit>
VL_INLINE bool visit_numbered_action(uint32_t number, Visit visit) {
    return visit_first<row>([=]<size_t i>() VL_INLINE_LAMBDA { return action_of<row, i>.number == number; }, visit);
}

} // namespace vl_pd
