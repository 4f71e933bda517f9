// A call of the driver, as the layer sees it.
#pragma once

#include <cstdint>
#include <cstring>

#include "watch/functions.h"

namespace pd_watch {

struct Call {
    const Function* function;
    // Integers zero-extended, pointers as addresses, and the addresses of records that travel by value in more than
    // eight bytes.
    uint64_t words[most_arguments];
    const void* caller;  // the code that called the driver: the library's, as a rule
    uint64_t begin = 0;  // nanoseconds of the monotonic clock
    uint64_t end = 0;    // 0 while the call runs
    uint32_t status = 0; // of the driver, when the call has ended
    // The room for an answer, which the driver overwrites: bits and bytes of a key, bytes of action data.
    uint16_t key_bits = 0;
    uint16_t key_room = 0;
    uint16_t data_room = 0;
    // What the driver gets in place of the agent's callback and cookie, unless the callback is 0.
    uint64_t callback_instead = 0;
    uint64_t cookie_instead = 0;
};

template <class Pointee>
Pointee* pointer_at(const Call& call, size_t argument) {
    return reinterpret_cast<Pointee*>(call.words[argument]);
}

// The position of the first argument of a kind, or the number of arguments.
constexpr size_t position_of(const Function& function, Kind kind) {
    size_t position = 0;
    while (position < function.count && function.arguments[position].kind != kind)
        ++position;
    return position;
}

inline pipe_dev_tgt target_in(uint64_t word) {
    pipe_dev_tgt target;
    std::memcpy(&target, &word, sizeof target);
    return target;
}

// The device of a call; not every function names one.
inline bool device_of(const Call& call, uint32_t& device) {
    const Function& function = *call.function;
    for (size_t i = 0; i < function.count; ++i) {
        if (function.arguments[i].kind == Kind::device) {
            device = static_cast<uint32_t>(call.words[i]);
            return true;
        }
        if (function.arguments[i].kind == Kind::target) {
            device = target_in(call.words[i]).dev_id;
            return true;
        }
    }
    return false;
}

// Longer lists are cut.
constexpr size_t most_elements = 65536;

// How many elements an argument has, by the argument that counts them.
inline size_t count_of(const Call& call, const Argument& argument) {
    if (argument.count_at == 0) return 1;
    const auto count = static_cast<uint32_t>(call.words[argument.count_at]);
    if (count > INT32_MAX) return 0; // to some functions it is negative
    return count < most_elements ? count : most_elements;
}

// Keeps the room for answers, before the driver overwrites it.
inline void note_room(Call& call) {
    for (size_t i = 0; i < call.function->count; ++i) {
        if (call.words[i] == 0) continue;
        const pipe_action_data* data = nullptr;
        switch (call.function->arguments[i].kind) {
        case Kind::out_match: {
            const auto* const match = pointer_at<const pipe_match_record>(call, i);
            call.key_bits = match->key_bits;
            call.key_room = match->key_bytes == nullptr ? 0 : match->key_len;
            break;
        }
        case Kind::out_data:
            data = &pointer_at<const pipe_action_record>(call, i)->action;
            break;
        case Kind::out_action_data:
            data = pointer_at<const pipe_action_data>(call, i);
            break;
        default:
            break;
        }
        if (data != nullptr && data->data != nullptr) call.data_room = data->data_len;
    }
}

} // namespace pd_watch
