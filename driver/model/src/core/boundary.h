// The gate for all boundary functions. It turns refusals into statuses, checks pointers for null, and lets tests
// record, fail and answer calls. While no test does so, a call checks one flag. Relies on the boundary's records only.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <tuple>
#include <type_traits>

#include <vl_driver/types.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>

namespace vl_model {

// Ends a call with a status. A call may be refused only before its first change.
struct Refusal {
    pipe_status status;
};

[[noreturn]] inline void refuse(vl_model_status status) {
    throw Refusal{status};
}

inline void refuse_if(bool is_refused, vl_model_status status) {
    if (is_refused) refuse(status);
}

// Finds the value of a key in a map; refuses the call if there is none.
template <class Map>
auto& found_in(Map& map, const typename Map::key_type& key, vl_model_status refusal) {
    const auto found = map.find(key);
    refuse_if(found == map.end(), refusal);
    return found->second;
}

// Gives the keys of a map that follow `key`, one by each call, and then 0. The map must not change meanwhile.
template <class Map>
auto keys_after(const Map& map, uint32_t key) {
    return [at = map.upper_bound(key), end = map.end()]() mutable { return at == end ? 0 : at++->first; };
}

// The return type of a function with the work `Body`. Work without a result gives a status.
template <class Body, class Result = std::invoke_result_t<Body>>
using ResultOf = std::conditional_t<std::is_void_v<Result>, pipe_status, Result>;

// Runs the work of a function that C calls, and lets no exception out. A refusal gives its status, or null if the
// function returns a pointer.
template <class Body>
ResultOf<Body> guarded(Body&& body) {
    const auto refusal = [](pipe_status status) {
        if constexpr (std::is_pointer_v<ResultOf<Body>>)
            return nullptr;
        else
            return static_cast<ResultOf<Body>>(status);
    };
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            body();
            return VL_MODEL_OK;
        } else {
            return body();
        }
    } catch (const Refusal& refused) {
        return refusal(refused.status);
    } catch (const std::bad_alloc&) {
        return refusal(VL_MODEL_NO_MEMORY);
    }
}

// Arguments are recorded as vl_model::Call says. A pointer must not be null, unless it leads to a function, to void or
// to no items. These types describe a pointer further:

// Room for the caller's items, which are not recorded.
struct RoomArgument {
    const void* items;
    size_t count;
};

// Items that are recorded among the call's inputs.
template <class Item>
struct InputArgument {
    const Item* items;
    size_t count;
};

// Handles or bytes, which go to Call::handles or Call::bytes.
template <class Item>
struct ListArgument {
    const Item* items;
    size_t count;
};

// The line of a log call. It is recorded, but is not an argument.
struct LogLine {
    const std::string& text;
};

inline RoomArgument room(const void* items, size_t count) {
    return {items, count};
}

inline RoomArgument nullable(const void* pointer) {
    return {pointer, 0};
}

template <class Item>
InputArgument<Item> input(const Item* items, size_t count = 1) {
    return {items, count};
}

template <class Item>
InputArgument<Item> nullable_input(const Item* item) {
    return {item, item != nullptr ? size_t{1} : size_t{0}};
}

template <class Item>
ListArgument<Item> list(const Item* items, size_t count) {
    return {items, count};
}

template <class Arg>
bool is_given(const Arg& arg) {
    if constexpr (requires { arg.items; })
        return arg.items != nullptr || arg.count == 0;
    else if constexpr (std::is_pointer_v<Arg>)
        return std::is_void_v<std::remove_pointer_t<Arg>> || std::is_function_v<std::remove_pointer_t<Arg>> ||
               arg != nullptr;
    else
        return true;
}

void copy_list(Call& call, const uint32_t* handles, size_t count);
void copy_list(Call& call, const uint8_t* bytes, size_t count);
void copy_record(Call& call, const pipe_match_record& record);
void copy_record(Call& call, const pipe_action_record& record);
void copy_record(Call& call, const pipe_action_data& data);

template <class Pointee>
void note(Call& call, Pointee* pointer) {
    call.args.push_back(reinterpret_cast<uintptr_t>(pointer));
    if constexpr (requires { copy_record(call, *pointer); }) {
        if (pointer != nullptr) copy_record(call, *pointer);
    }
}

template <class Item>
void note(Call& call, const ListArgument<Item>& arg) {
    call.args.push_back(reinterpret_cast<uintptr_t>(arg.items));
    if (arg.items != nullptr) copy_list(call, arg.items, arg.count);
}

template <class Item>
void note(Call& call, const InputArgument<Item>& arg) {
    static_assert(std::is_trivially_copyable_v<Item>);
    call.args.push_back(reinterpret_cast<uintptr_t>(arg.items));
    const auto* bytes = reinterpret_cast<const uint8_t*>(arg.items);
    call.inputs.emplace_back(bytes, bytes != nullptr ? bytes + arg.count * sizeof(Item) : nullptr);
}

inline void note(Call& call, const RoomArgument& arg) {
    call.args.push_back(reinterpret_cast<uintptr_t>(arg.items));
}

inline void note(Call& call, const LogLine& line) {
    call.text = line.text;
}

// An integer, or a record by value.
template <class Arg>
void note(Call& call, const Arg& arg) {
    if constexpr (std::is_integral_v<Arg>) {
        call.args.push_back(static_cast<std::make_unsigned_t<Arg>>(arg));
    } else {
        static_assert(std::is_trivially_copyable_v<Arg> && sizeof(Arg) % sizeof(uint64_t) == 0);
        const size_t words = call.args.size();
        call.args.resize(words + sizeof(Arg) / sizeof(uint64_t));
        std::memcpy(&call.args[words], &arg, sizeof(Arg));
    }
}

// True while a fault is armed, calls are recorded or a test answers calls.
extern std::atomic<bool> watching;

enum class Returns { status, integer, pointer };

// Records a call, and refuses it or has a test answer it. `note_arguments` fills in the arguments; `work` is what the
// driver does.
uint64_t run_watched(const char* function, Returns returns, const std::function<void(Call&)>& note_arguments,
                     const std::function<uint64_t()>& work);

// Ends all faults, recording and answers.
void reset_watch();

// A call of a boundary function: its name, and its arguments in their order.
template <class... Args>
class Boundary {
public:
    explicit Boundary(const char* function, const Args&... args) : function_(function), args_(args...) {}

    // Runs the work of the function and returns its result.
    template <class Body>
    ResultOf<Body> operator()(Body&& body) const {
        using Result = ResultOf<Body>;
        const auto work = [&] {
            const auto all_given = [](const auto&... args) { return (is_given(args) && ...); };
            refuse_if(!std::apply(all_given, args_), VL_MODEL_INVALID);
            return body();
        };
        if (!watching.load(std::memory_order_relaxed)) [[likely]]
            return guarded(work);
        const auto note_arguments = [&](Call& call) {
            std::apply([&](const auto&... args) { (note(call, args), ...); }, args_);
        };
        if constexpr (std::is_pointer_v<Result>) {
            const auto address = [&] { return reinterpret_cast<uintptr_t>(guarded(work)); };
            return reinterpret_cast<Result>(run_watched(function_, Returns::pointer, note_arguments, address));
        } else {
            constexpr auto returns = std::is_same_v<Result, pipe_status> ? Returns::status : Returns::integer;
            const auto word = [&] { return static_cast<std::make_unsigned_t<Result>>(guarded(work)); };
            return static_cast<Result>(run_watched(function_, returns, note_arguments, word));
        }
    }

private:
    const char* function_;
    std::tuple<const Args&...> args_;
};

} // namespace vl_model
