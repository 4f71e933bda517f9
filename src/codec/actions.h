// The actions of a table or of a profile: from an action to its handle, and from a handle or number to the action.
#pragma once

#include "catalog/rows.h"
#include "codec/unroll.h"

namespace vl_pd {

// The handle of an action in a table or a profile.
template <auto row, catalog::ActionRef A>
inline constexpr uint32_t action_handle = catalog::find_binding(row->actions, A->name) -> handle;

// The i-th action of a table or a profile.
template <auto row, size_t i>
inline constexpr catalog::ActionRef action_of = {
    static_cast<uint16_t>(catalog::number_of(catalog::program.actions, row->actions.begin()[i].action))};

// Calls visit(constant<A>) for the first action of the table or profile for which wanted(constant<i>) holds; i is its
// place in the row. False if it holds for none.
template <auto row, class Wanted, class Visit>
VL_INLINE bool visit_first(Wanted wanted, Visit visit) {
    return [&]<size_t... i>(std::index_sequence<i...>) VL_INLINE_LAMBDA {
        return ((wanted(constant<i>) && (visit(constant<action_of<row, i>>), true)) || ...); // one way: always true
    }
    (std::make_index_sequence<row->actions.size()>());
}

// Both call visit(constant<A>) for the action with this handle or number. False if there is none.
template <auto row, class Visit>
VL_INLINE bool visit_action(uint32_t action_hdl, Visit visit) {
    return visit_first<row>([=](auto i) VL_INLINE_LAMBDA { return row->actions.begin()[i].handle == action_hdl; },
                            visit);
}

template <auto row, class Visit>
bool visit_numbered_action(uint32_t number, Visit visit) {
    return visit_first<row>([=](auto i) VL_INLINE_LAMBDA { return action_of<row, i>.number == number; }, visit);
}

} // namespace vl_pd
