// Placement data: the software's view of an entry or a member, without access to the device. Agents fetch the data
// here, and the data of members is decoded here. tables/reading.h decodes the data of entries.
//
// Agents fetch the data by functions that replace their third argument and pass on all others, however many there are.
// C++ can't express that. A function with parameters drops the arguments beyond them. For a variadic or naked function,
// some compilers store to the caller's frame. So these functions are two instructions that the compiler doesn't see.
// The third argument travels in edx. The jump leaves all other registers, the stack and the return address as the
// caller made them, so the driver returns straight to the caller.
#pragma once

#include "pd/profiles/members.h"
#include "vl_driver/placement.h"

#if !defined(__x86_64__)
#error "the third argument travels in another register on this machine"
#endif

// Defines the function `name`, which forwards to `function`. All three arguments are used as text.
#define VL_PASS_THROUGH(name, function, handle)                                                                        \
    __asm__(".pushsection .text\n"                                                                                     \
            ".p2align 4\n"                                                                                             \
            ".globl " #name "\n"                                                                                       \
            ".type " #name ", @function\n" #name ":\n"                                                                 \
            ".cfi_startproc\n"                                                                                         \
            "movl $" #handle ", %edx\n"                                                                                \
            "jmp " #function "@PLT\n"                                                                                  \
            ".cfi_endproc\n"                                                                                           \
            ".size " #name ", . - " #name "\n"                                                                         \
            ".popsection\n")

namespace vl_pd::placement {

using catalog::ProfileRef;

inline constexpr std::string_view member_suffix = "_get_member_from_plcmt_data";
inline constexpr std::string_view full_member_suffix = "_get_full_member_info_from_plcmt_data";

template <ProfileRef P, const std::string_view& suffix, class BeforeParams>
pd_status decode(const void* plcmt_data, BeforeParams before_params, void* action_record) noexcept {
    bytes::Byte data[decoding::data_capacity]{};
    pipe_action_data action{.data_bits = 0, .data_len = 0, .reserved = 0, .data = data};
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = pipe_mgr_plcmt_adt_data_get_entry(plcmt_data, &action, &action_hdl);
    if (refused != PD_STATUS_OK) return refused;
    if (members::write_record<P>(action_hdl, action, before_params, action_record)) return PD_STATUS_OK;
    assertion_failed(Condition::null_pointer, joined<name_prefix, name_of<P>, suffix>.data(), __LINE__);
    return PD_STATUS_UNEXPECTED;
}

template <ProfileRef P>
pd_status decode_member(const void* plcmt_data, void* action_record) noexcept {
    return decode<P, member_suffix>(
        plcmt_data, [] {}, action_record);
}

// If there is a shadow, it is asked for the member's resources.
template <ProfileRef P>
pd_status decode_full_member(pd_device dev_id, pd_member mbr_hdl, const void* plcmt_data,
                             void* action_record) noexcept {
    const auto before_params = [&] {
        if (lifecycle::shadow_of(P) != nullptr) members::ask_resources(lifecycle::shadow_of(P), dev_id, mbr_hdl);
    };
    return decode<P, full_member_suffix>(plcmt_data, before_params, action_record);
}

} // namespace vl_pd::placement
