// A call as the checker and the summary read it: what it does, and the arguments that matter.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "watch/books.h"
#include "watch/call.h"
#include "watch/pipeline.h"

namespace pd_watch {

// What a function does to what the checker keeps books of.
enum class Deed : uint8_t {
    other,
    add_entry,
    find_entry,
    read_entry,
    change_entry,
    change_entry_by_key,
    delete_entry,
    delete_entry_by_key,
    set_default,
    reset_default,
    add_snapshot,
    delete_snapshot,
    add_client,
    set_client_callbacks,
    delete_client,
    register_digest,
    acknowledge,
    // The rest changes a profile.
    add_member,
    change_member,
    delete_member,
    add_group,
    delete_group,
    join_group,
    leave_group,
    set_fallback,
    reset_fallback,
    change_profile,
};

inline constexpr std::pair<std::string_view, Deed> deeds[] = {
    {"pipe_mgr_mat_ent_add", Deed::add_entry},
    {"pipe_mgr_pvs_entry_add", Deed::add_entry},
    {"pipe_mgr_match_spec_to_ent_hdl", Deed::find_entry},
    {"pipe_mgr_get_entry", Deed::read_entry},
    {"pipe_mgr_mat_ent_set_action", Deed::change_entry},
    {"pipe_mgr_mat_ent_set_action_by_match_spec", Deed::change_entry_by_key},
    {"pipe_mgr_mat_ent_del", Deed::delete_entry},
    {"pipe_mgr_pvs_entry_delete", Deed::delete_entry},
    {"pipe_mgr_mat_ent_del_by_match_spec", Deed::delete_entry_by_key},
    {"pipe_mgr_mat_default_entry_set", Deed::set_default},
    {"pipe_mgr_mat_tbl_default_entry_reset", Deed::reset_default},
    {"bf_snapshot_create", Deed::add_snapshot},
    {"bf_snapshot_delete", Deed::delete_snapshot},
    {"bf_drv_register", Deed::add_client},
    {"bf_drv_client_register_callbacks", Deed::set_client_callbacks},
    {"bf_drv_deregister", Deed::delete_client},
    {"pipe_mgr_lrn_digest_notification_register", Deed::register_digest},
    {"pipe_mgr_flow_lrn_notify_ack", Deed::acknowledge},
    {"pipe_mgr_adt_ent_add", Deed::add_member},
    {"pipe_mgr_adt_ent_set", Deed::change_member},
    {"pipe_mgr_adt_ent_del", Deed::delete_member},
    {"pipe_mgr_sel_grp_add", Deed::add_group},
    {"pipe_mgr_sel_grp_del", Deed::delete_group},
    {"pipe_mgr_sel_grp_mbr_add", Deed::join_group},
    {"pipe_mgr_sel_grp_mbr_del", Deed::leave_group},
    {"pipe_mgr_sel_fallback_mbr_set", Deed::set_fallback},
    {"pipe_mgr_sel_fallback_mbr_reset", Deed::reset_fallback},
    {"pipe_mgr_sel_grp_mbr_enable", Deed::change_profile},
    {"pipe_mgr_sel_grp_mbr_disable", Deed::change_profile},
};

// The deed of each function, and the places of the arguments that the checker reads.
struct Plan {
    Deed deed = Deed::other;
    uint8_t session, table, match, data, action, handle, member, group, snapshot, out_match;
    uint8_t device = 0; // or the target
};

inline constexpr auto plans = [] {
    std::array<Plan, std::size(functions)> all{};
    for (size_t i = 0; i < all.size(); ++i) {
        const auto place = [&](Kind kind) { return static_cast<uint8_t>(position_of(functions[i], kind)); };
        all[i] = {.deed = Deed::other,
                  .session = place(Kind::session),
                  .table = place(Kind::table),
                  .match = place(Kind::match),
                  .data = place(Kind::data),
                  .action = place(Kind::action),
                  .handle = place(Kind::handle),
                  .member = place(Kind::member),
                  .group = place(Kind::group),
                  .snapshot = place(Kind::snapshot),
                  .out_match = place(Kind::out_match),
                  .device = std::min(place(Kind::device), place(Kind::target))};
        for (const auto& [name, deed] : deeds)
            if (name == functions[i].name) all[i].deed = deed;
    }
    return all;
}();

inline const Plan& plan_of(const Call& call) {
    return plans[static_cast<size_t>(call.function - functions)];
}

// Snapshots belong to no table.
inline constexpr uint32_t no_device = ~uint32_t{0};

// What the arguments say; null or 0 if the function has none.
struct View {
    const Call& call;
    uint32_t thread;
    const Plan& plan = plan_of(call);
    const Table* table = nullptr;
    bool has_device = plan.device != call.function->count;
    // A device and the first word of a target are one number.
    uint32_t device = has_device ? static_cast<uint32_t>(call.words[plan.device]) : no_device;

    View(const Pipeline& pipeline, const Call& of_call, uint32_t of_thread) : call(of_call), thread(of_thread) {
        if (has(plan.table)) table = pipeline.table(number(plan.table));
    }
    bool has(uint8_t place) const {
        return place != call.function->count;
    }
    uint32_t number(uint8_t place) const {
        return has(place) ? static_cast<uint32_t>(call.words[place]) : 0;
    }
    template <class Record>
    const Record* record(uint8_t place) const {
        return has(place) ? pointer_at<const Record>(call, place) : nullptr;
    }
    const pipe_match_record* match() const {
        return record<pipe_match_record>(plan.match);
    }
    const pipe_action_record* data() const {
        return record<pipe_action_record>(plan.data);
    }
    // The handle that the driver has written; 0 if none.
    uint32_t made(Kind kind) const {
        const size_t place = position_of(*call.function, kind);
        const bool is_made = call.status == 0 && place != call.function->count && call.words[place] != 0;
        return is_made ? *pointer_at<const uint32_t>(call, place) : 0;
    }
    Reference reference() const {
        const pipe_action_record* const record = data();
        if (record == nullptr) return {};
        return {record->kind == PIPE_KIND_MEMBER ? record->member_hdl : 0,
                record->kind == PIPE_KIND_GROUP ? record->group_hdl : 0};
    }
};

} // namespace pd_watch
