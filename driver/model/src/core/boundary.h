// The gate that every boundary function passes: armed faults and the record of calls. Nothing is looked at but one flag
// while a test uses neither. Relies on the boundary's records only.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <vl_driver/types.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>

#include "core/callbacks.h"

namespace vl_model {

// True while a fault is armed, calls are recorded or a test answers calls.
extern std::atomic<bool> watching;

// The answer to calls of the function, with no callback if there is none. A copy: answers run without a lock.
Subscriber<Answer> find_answer(std::string_view function);

// Back to the start: no faults, no recording, no answers.
void reset_watch();

// Disarms the faults of fail_call.
void clear_call_faults();

// Counts the call down on the function's faults; a status if one fires.
std::optional<uint32_t> take_fault(const char* function);

bool is_recording();

// Keeps the call and returns its number for note_status.
uint64_t note_call(const Call& call);
void note_status(uint64_t number, uint32_t status);

// The formatted line of a log call, which is not among its arguments.
struct LogLine {
    const std::string& text;
};

// An array: its address is the argument, and its content is kept beside.
template <class Item>
struct ArrayArgument {
    const Item* items;
    size_t count;
};

// A record or an array of the caller's, which is kept among the call's inputs.
template <class Item>
struct InputArgument {
    const Item* items;
    size_t count;
};

template <class Item>
InputArgument<Item> input(const Item* items, size_t count = 1) {
    return {items, count};
}

void copy_array(Call& call, const uint32_t* handles, size_t count);
void copy_array(Call& call, const uint8_t* bytes, size_t count);

void copy_record(Call& call, const pipe_match_record& record);
void copy_record(Call& call, const pipe_action_record& record);
void copy_record(Call& call, const pipe_action_data& data);

template <class Item>
void note_argument(Call& call, const ArrayArgument<Item>& arg) {
    call.args.push_back(reinterpret_cast<uintptr_t>(arg.items));
    if (arg.items != nullptr) copy_array(call, arg.items, arg.count);
}

template <class Item>
void note_argument(Call& call, const InputArgument<Item>& arg) {
    static_assert(std::is_trivially_copyable_v<Item>);
    call.args.push_back(reinterpret_cast<uintptr_t>(arg.items));
    const auto* bytes = reinterpret_cast<const uint8_t*>(arg.items);
    call.inputs.emplace_back(bytes, bytes != nullptr ? bytes + arg.count * sizeof(Item) : nullptr);
}

template <class Arg>
void note_argument(Call& call, const Arg& arg) {
    if constexpr (std::is_same_v<Arg, LogLine>) {
        call.text = arg.text;
    } else if constexpr (std::is_pointer_v<Arg>) {
        call.args.push_back(reinterpret_cast<uintptr_t>(arg));
        using Pointee = std::remove_cv_t<std::remove_pointer_t<Arg>>;
        if constexpr (std::is_same_v<Pointee, pipe_match_record> || std::is_same_v<Pointee, pipe_action_record> ||
                      std::is_same_v<Pointee, pipe_action_data>) {
            if (arg != nullptr) copy_record(call, *arg);
        }
    } else if constexpr (std::is_integral_v<Arg>) {
        call.args.push_back(static_cast<std::make_unsigned_t<Arg>>(arg));
    } else {
        static_assert(std::is_trivially_copyable_v<Arg> && sizeof(Arg) % sizeof(uint64_t) == 0);
        uint64_t words[sizeof(Arg) / sizeof(uint64_t)];
        std::memcpy(words, &arg, sizeof(Arg));
        call.args.insert(call.args.end(), std::begin(words), std::end(words));
    }
}

template <class Result>
Result refusal(uint32_t status) {
    if constexpr (std::is_pointer_v<Result>)
        return nullptr;
    else
        return static_cast<Result>(status);
}

// No exception may cross the boundary: its callers are C.
template <class Body>
auto run_guarded(Body& body) -> decltype(body()) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return refusal<decltype(body())>(VL_MODEL_NO_MEMORY);
    }
}

template <class Result>
uint64_t word_of(Result result) {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<uintptr_t>(result);
    else
        return static_cast<std::make_unsigned_t<Result>>(result);
}

template <class Result>
Result result_of(uint64_t word) {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(static_cast<uintptr_t>(word));
    else
        return static_cast<Result>(word);
}

// Gives a test the answer to a call, or runs its body.
template <class Body>
auto answered(const Subscriber<Answer>& answer, AnsweredCall& call, Body& body) -> decltype(body()) {
    if (answer.callback) {
        if (const RunningCall running{answer.registration}) {
            call.driver = [&] { return word_of(run_guarded(body)); };
            return result_of<decltype(body())>(answer.callback(call));
        }
    }
    return body();
}

template <class Body, class... Args>
[[gnu::noinline]] auto run_watched(const char* function, Body& body, const Args&... args) -> decltype(body()) {
    using Result = decltype(body());
    const Subscriber<Answer> answer = find_answer(function);
    std::optional<uint64_t> number;
    AnsweredCall call;
    if (const bool recording = is_recording(); recording || answer.callback) {
        call.function = function;
        (note_argument(call, args), ...);
        if (recording) number = note_call(call);
    }
    const std::optional<uint32_t> fault = take_fault(function);
    auto answered_body = [&] { return answered(answer, call, body); };
    const Result result = fault ? refusal<Result>(*fault) : run_guarded(answered_body);
    if (number) {
        if constexpr (std::is_same_v<Result, pipe_status>)
            note_status(*number, result);
        else
            note_status(*number, fault.value_or(VL_MODEL_OK));
    }
    return result;
}

// What each boundary function consists of: its name as the boundary has it, its work, its arguments in their order.
template <class Body, class... Args>
auto boundary(const char* function, Body&& body, const Args&... args) -> decltype(body()) {
    if (watching.load(std::memory_order_relaxed)) [[unlikely]]
        return run_watched(function, body, args...);
    return run_guarded(body);
}

} // namespace vl_model
