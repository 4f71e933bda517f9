// The functions that stand in front of the driver's. Each calls the driver's function of the same name with the same
// arguments, and returns its answer.
#include <atomic>
#include <tuple>
#include <type_traits>

#define pipe_mgr_plcmt_mat_data_get declared_mat_data_get // declared in another way below
#define pipe_mgr_plcmt_adt_data_get declared_adt_data_get
#define pipe_mgr_plcmt_sel_data_get declared_sel_data_get
#include "watch/layer.h"
#undef pipe_mgr_plcmt_mat_data_get
#undef pipe_mgr_plcmt_adt_data_get
#undef pipe_mgr_plcmt_sel_data_get

namespace pd_watch {
namespace {

template <class Type>
struct Signature;

template <class Result, class... Arguments>
struct Signature<Result(Arguments...)> {
    static_assert(std::is_same_v<Result, pipe_status>);
    static constexpr size_t count = sizeof...(Arguments);

    template <size_t number>
    using At = typename std::tuple_element_t<number, std::tuple<std::type_identity<Arguments>...>>::type;
};

template <class Argument>
uint64_t word_of(const Argument& argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        return reinterpret_cast<uintptr_t>(argument);
    } else if constexpr (std::is_integral_v<Argument>) {
        return static_cast<std::make_unsigned_t<Argument>>(argument);
    } else if constexpr (sizeof(Argument) <= sizeof(uint64_t)) {
        uint64_t word = 0;
        std::memcpy(&word, &argument, sizeof argument);
        return word;
    } else {
        return reinterpret_cast<uintptr_t>(&argument);
    }
}

template <class Type>
Type* next(std::atomic<void*>& known, const char* name) {
    void* found = known.load(std::memory_order_relaxed);
    if (found == nullptr) known.store(found = next_function(name), std::memory_order_relaxed);
    return reinterpret_cast<Type*>(found);
}

// An argument as the driver gets it.
template <class Argument>
Argument passed(const Call& call, size_t number, const Argument& argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        const Kind kind = call.function->arguments[number].kind;
        if (call.callback_instead != 0 && kind == Kind::callback)
            return reinterpret_cast<Argument>(call.callback_instead);
        if (call.callback_instead != 0 && kind == Kind::cookie) return reinterpret_cast<Argument>(call.cookie_instead);
    }
    return argument;
}

template <class Type, class... Arguments>
pipe_status forward(const Function& row, std::atomic<void*>& known, const void* caller, const Arguments&... arguments) {
    Type* const driver = next<Type>(known, row.name);
    if (!is_watching() || is_in_driver(caller)) return driver(arguments...);
    Call call{.function = &row, .words = {word_of(arguments)...}, .caller = caller};
    call_begins(call);
    call.status = [&]<size_t... number>(std::index_sequence<number...>) {
        return driver(passed(call, number, arguments)...);
    }
    (std::index_sequence_for<Arguments...>());
    call_ended(call);
    return call.status;
}

} // namespace
} // namespace pd_watch

#define PD_WATCH_TYPE(name, number) pd_watch::Signature<decltype(name)>::At<number>
#define PD_WATCH_COUNT(...) PD_WATCH_ELEVENTH(__VA_ARGS__, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, )
#define PD_WATCH_ELEVENTH(a, b, c, d, e, f, g, h, i, j, k, ...) k
#define PD_WATCH_JOIN(a, b) PD_WATCH_JOIN_(a, b)
#define PD_WATCH_JOIN_(a, b) a##b
// clang-format off
#define PD_WATCH_PARAMS_1(n) PD_WATCH_TYPE(n, 0) a0
#define PD_WATCH_PARAMS_2(n) PD_WATCH_PARAMS_1(n), PD_WATCH_TYPE(n, 1) a1
#define PD_WATCH_PARAMS_3(n) PD_WATCH_PARAMS_2(n), PD_WATCH_TYPE(n, 2) a2
#define PD_WATCH_PARAMS_4(n) PD_WATCH_PARAMS_3(n), PD_WATCH_TYPE(n, 3) a3
#define PD_WATCH_PARAMS_5(n) PD_WATCH_PARAMS_4(n), PD_WATCH_TYPE(n, 4) a4
#define PD_WATCH_PARAMS_6(n) PD_WATCH_PARAMS_5(n), PD_WATCH_TYPE(n, 5) a5
#define PD_WATCH_PARAMS_7(n) PD_WATCH_PARAMS_6(n), PD_WATCH_TYPE(n, 6) a6
#define PD_WATCH_PARAMS_8(n) PD_WATCH_PARAMS_7(n), PD_WATCH_TYPE(n, 7) a7
#define PD_WATCH_PARAMS_9(n) PD_WATCH_PARAMS_8(n), PD_WATCH_TYPE(n, 8) a8
#define PD_WATCH_PARAMS_10(n) PD_WATCH_PARAMS_9(n), PD_WATCH_TYPE(n, 9) a9
#define PD_WATCH_NAMES_1 a0
#define PD_WATCH_NAMES_2 a0, a1
#define PD_WATCH_NAMES_3 a0, a1, a2
#define PD_WATCH_NAMES_4 a0, a1, a2, a3
#define PD_WATCH_NAMES_5 a0, a1, a2, a3, a4
#define PD_WATCH_NAMES_6 a0, a1, a2, a3, a4, a5
#define PD_WATCH_NAMES_7 a0, a1, a2, a3, a4, a5, a6
#define PD_WATCH_NAMES_8 a0, a1, a2, a3, a4, a5, a6, a7
#define PD_WATCH_NAMES_9 a0, a1, a2, a3, a4, a5, a6, a7, a8
#define PD_WATCH_NAMES_10 a0, a1, a2, a3, a4, a5, a6, a7, a8, a9
#define PD_WATCH_DEFINE(name, ...) PD_WATCH_DEFINE_(name, PD_WATCH_COUNT(__VA_ARGS__))
#define PD_WATCH_DEFINE_(name, n)                                                                                      \
    pipe_status name(PD_WATCH_JOIN(PD_WATCH_PARAMS_, n)(name)) {                                                       \
        static constexpr const pd_watch::Function& row = *pd_watch::function_named(#name);                             \
        static_assert(row.count == pd_watch::Signature<decltype(name)>::count);                                        \
        static std::atomic<void*> known;                                                                               \
        return pd_watch::forward<decltype(name)>(row, known, __builtin_return_address(0),                              \
                                                 PD_WATCH_JOIN(PD_WATCH_NAMES_, n));                                   \
    }
// clang-format on

PD_WATCH_FUNCTIONS(PD_WATCH_DEFINE)

// A driver may define more arguments than these. So the layer hands on six registers and as many words of the stack.
using Placement = pipe_status(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                              uint64_t);

#define PD_WATCH_DEFINE_PLACEMENT(name, ...)                                                                           \
    extern "C" __attribute__((visibility("default"))) pipe_status name(                                                \
        uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7,        \
        uint64_t a8, uint64_t a9) {                                                                                    \
        static constexpr const pd_watch::Function& row = *pd_watch::function_named(#name);                             \
        static std::atomic<void*> known;                                                                               \
        return pd_watch::forward<Placement>(row, known, __builtin_return_address(0), a0, a1, a2, a3, a4, a5, a6, a7,   \
                                            a8, a9);                                                                   \
    }

PD_WATCH_PLACEMENT(PD_WATCH_DEFINE_PLACEMENT)
