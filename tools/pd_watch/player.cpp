// See player.h.
#include "tools/pd_watch/player.h"

#include <algorithm>
#include <deque>
#include <string_view>
#include <type_traits>
#include <utility>

#include <dlfcn.h>

#include "tools/pd_watch/commands.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch_pipeline.h"
#include "watch/call.h"
#include "watch/line.h"

namespace pd_watch {
namespace {

// ---- a call by the words of its arguments

// A callback that does nothing.
template <class Result, class... Arguments>
Result nothing(Arguments...) {
    return Result();
}

template <class Function>
struct Nothing;
template <class Result, class... Arguments>
struct Nothing<Result(Arguments...)> {
    static constexpr auto callback = &nothing<Result, Arguments...>;
};

template <class Argument>
Argument argument_from(uint64_t word) {
    if constexpr (std::is_same_v<Argument, const bf_drv_client_callbacks*>) {
        static constexpr bf_drv_client_callbacks callbacks = {
            .reserved_0_2 = {},
            .device_remove = Nothing<std::remove_pointer_t<bf_drv_device_cb>>::callback,
            .state_log = Nothing<std::remove_pointer_t<bf_drv_state_cb>>::callback,
            .state_restore = Nothing<std::remove_pointer_t<bf_drv_state_cb>>::callback,
            .reserved_6_30 = {}};
        return word != 0 ? &callbacks : nullptr;
    } else if constexpr (std::is_pointer_v<Argument> && std::is_function_v<std::remove_pointer_t<Argument>>) {
        return word != 0 ? Nothing<std::remove_pointer_t<Argument>>::callback : nullptr;
    } else if constexpr (std::is_pointer_v<Argument>) {
        return reinterpret_cast<Argument>(word);
    } else if constexpr (std::is_integral_v<Argument>) {
        return static_cast<Argument>(word);
    } else {
        Argument record;
        const void* const at =
            sizeof record <= sizeof word ? static_cast<const void*>(&word) : reinterpret_cast<const void*>(word);
        std::memcpy(&record, at, sizeof record);
        return record;
    }
}

template <class Type>
struct Caller;
template <class... Arguments>
struct Caller<pipe_status(Arguments...)> {
    static pipe_status call(void* function, const uint64_t* words) {
        return [&]<size_t... number>(std::index_sequence<number...>) {
            return reinterpret_cast<pipe_status (*)(Arguments...)>(function)(
                argument_from<Arguments>(words[number])...);
        }
        (std::index_sequence_for<Arguments...>());
    }
};

#define PD_WATCH_CALLER(name, ...) &Caller<decltype(name)>::call,
constexpr pipe_status (*callers[])(void*,
                                   const uint64_t*) = {PD_WATCH_FUNCTIONS(PD_WATCH_CALLER) // in the order of functions
                                                       PD_WATCH_PLACEMENT(PD_WATCH_CALLER)};
#undef PD_WATCH_CALLER
static_assert(std::size(callers) == std::size(functions));

// Null if the driver lacks it.
void* driver_function(const char* name) {
    return dlsym(RTLD_DEFAULT, name);
}

template <class Function>
Function* model_function(const char* name) {
    return reinterpret_cast<Function*>(driver_function(name));
}

// ---- arguments from a recording

[[noreturn]] void refuse(const std::string& why) {
    throw Mistake(why);
}

// Thrown if an argument can't be made again.
struct LeftOut {};

// Answers with more room than this are not asked for.
constexpr size_t most_room = size_t{64} << 20;
constexpr size_t least_unknown_room = size_t{64} << 10;

uint64_t number_of(const cJSON* json, const char* name) {
    uint64_t number = 0;
    if (!read_number(json, number)) refuse(std::string(name) + " is no number");
    return number;
}

// Packets change these answers.
bool depends_on_packets(std::string_view function) {
    for (const std::string_view each :
         {"pipe_mgr_mat_ent_direct_stat_query", "pipe_mgr_stat_ent_query", "pipe_mgr_idle_time_get_hit_state",
          "pipe_stful_ent_query", "pipe_stful_ent_query_range", "pipe_stful_direct_ent_query",
          "bf_snapshot_capture_get"})
        if (each == function) return true;
    return false;
}

} // namespace

// A call and the memory of its arguments, until it is done.
struct Player::Frame {
    const Comparison& comparison;
    Call call{};
    Place place{};
    std::deque<std::vector<uint64_t>> memory{};

    template <class Type>
    Type* room(size_t count = 1) {
        if (count > most_room / sizeof(Type)) throw LeftOut();
        memory.emplace_back((count * sizeof(Type) + 7) / 8 + 1);
        return reinterpret_cast<Type*>(memory.back().data());
    }

    uint64_t mapped(Kind kind, uint64_t recorded) const {
        return comparison.second_of(kind, place, recorded);
    }

    // Null for null. The bytes must be `count`.
    uint8_t* hex(const cJSON* json, size_t count) {
        if (cJSON_IsNull(json)) return nullptr;
        if (!cJSON_IsString(json)) refuse("there are no bytes");
        const std::string_view digits = json->valuestring;
        if (digits.size() != 2 * count)
            refuse("there are " + std::to_string(digits.size() / 2) + " bytes in place of " + std::to_string(count));
        auto* const bytes = room<uint8_t>(count);
        const auto value = [&](char digit) {
            if (digit >= '0' && digit <= '9') return digit - '0';
            if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
            refuse("these are no bytes");
        };
        for (size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<uint8_t>(value(digits[2 * i]) << 4 | value(digits[2 * i + 1]));
        return bytes;
    }

    pipe_match_record* match(const cJSON* json) {
        auto* const match = room<pipe_match_record>();
        match->key_len = static_cast<uint16_t>(number_in(json, "bytes"));
        match->key_bits = static_cast<uint16_t>(number_in(json, "bits"));
        match->key_bytes = hex(member(json, "key"), match->key_len);
        match->mask_bytes = hex(member(json, "mask"), match->key_len);
        match->partition_index = static_cast<uint32_t>(number_in(json, "partition"));
        match->priority = static_cast<uint32_t>(number_in(json, "priority"));
        return match;
    }

    void slot(const cJSON* json, pipe_resource_slot& slot) {
        slot.resource_hdl = static_cast<uint32_t>(number_in(json, "resource"));
        slot.index = static_cast<uint32_t>(number_in(json, "index"));
        slot.tag = static_cast<uint32_t>(number_in(json, "tag"));
        if (const cJSON* const spec = member(json, "spec"); spec != nullptr)
            if (const uint8_t* const bytes = hex(spec, sizeof slot.spec); bytes != nullptr)
                std::memcpy(slot.spec, bytes, sizeof slot.spec);
    }

    pipe_action_record* action(const cJSON* json) {
        auto* const record = room<pipe_action_record>();
        record->kind = static_cast<uint8_t>(number_in(json, "kind"));
        record->action.data_len = static_cast<uint16_t>(number_in(json, "bytes"));
        record->action.data_bits = static_cast<uint16_t>(number_in(json, "bits"));
        record->action.data = hex(member(json, "data"), record->action.data_len);
        record->member_hdl = static_cast<uint32_t>(mapped(Kind::member, number_in(json, "member")));
        record->group_hdl = static_cast<uint32_t>(mapped(Kind::group, number_in(json, "group")));
        for (const cJSON* each = cJSON_GetArrayItem(member(json, "slots"), 0); each != nullptr; each = each->next) {
            if (record->resource_count == PIPE_MAX_SLOTS) refuse("there are too many slots");
            slot(each, record->slots[record->resource_count++]);
        }
        return record;
    }

    // The number of elements that the caller says there are. A long list isn't recorded to its end.
    size_t count_of(const Argument& argument) const {
        return argument.count_at == 0 ? 1 : static_cast<uint32_t>(call.words[argument.count_at]);
    }
    size_t count_of_list(const cJSON* json, const Argument& argument) const {
        const size_t count = count_of(argument);
        if (count > most_elements) throw LeftOut();
        if (cJSON_IsArray(json) && static_cast<size_t>(cJSON_GetArraySize(json)) != count)
            refuse(std::string(argument.name) + " has another number of elements");
        return count;
    }
    template <class Item, class Read>
    Item* list(const cJSON* json, const Argument& argument, Read&& read) {
        if (!cJSON_IsArray(json)) refuse(std::string(argument.name) + " is no list");
        auto* const items = room<Item>(count_of_list(json, argument));
        size_t i = 0;
        for (const cJSON* each = json->child; each != nullptr; each = each->next)
            read(each, items[i++]);
        return items;
    }

    // What is a word itself, except for handles of the driver.
    uint64_t word(const Argument& argument, const cJSON* json) const {
        switch (argument.kind) {
        case Kind::target: {
            const pipe_dev_tgt target = {
                .dev_id = static_cast<uint32_t>(number_of(cJSON_GetArrayItem(json, 0), argument.name)),
                .pipe_id = static_cast<uint16_t>(number_of(cJSON_GetArrayItem(json, 1), argument.name)),
                .reserved = 0};
            uint64_t bytes = 0;
            std::memcpy(&bytes, &target, sizeof bytes);
            return bytes;
        }
        case Kind::handle:
        case Kind::member:
        case Kind::group:
        case Kind::snapshot:
        case Kind::client:
            return mapped(argument.kind, number_of(json, argument.name));
        case Kind::pointer: {
            const uint64_t pointer = number_of(json, argument.name);
            if (pointer != 0 && !comparison.knows(Kind::pointer, place, pointer)) throw LeftOut();
            return mapped(Kind::pointer, pointer);
        }
        default:
            return number_of(json, argument.name);
        }
    }

    const void* memory_for(const Argument& argument, const cJSON* json, size_t unknown_room) {
        switch (argument.kind) {
        case Kind::match:
            return match(json);
        case Kind::data:
            return action(json);
        case Kind::slots:
            return list<pipe_resource_slot>(json, argument, [&](const cJSON* each, auto& to) { slot(each, to); });
        case Kind::words:
            return list<uint32_t>(json, argument, [&](const cJSON* each, uint32_t& to) {
                to = static_cast<uint32_t>(number_of(each, argument.name));
            });
        case Kind::bytes:
        case Kind::by_value:
            return hex(json, count_of_list(nullptr, argument) * argument.size);
        case Kind::text: {
            const std::string_view text = cJSON_IsString(json) ? json->valuestring : "";
            auto* const to = room<char>(text.size() + 1);
            std::ranges::copy(text, to);
            return to;
        }
        case Kind::callback:
            return room<char>(); // a word that isn't null
        case Kind::out_match: {
            auto* const match = room<pipe_match_record>();
            match->key_bits = static_cast<uint16_t>(number_in(json, "bits"));
            match->key_len = static_cast<uint16_t>(number_in(json, "bytes"));
            match->key_bytes = room<uint8_t>(std::max(match->key_len, least_room()));
            match->mask_bytes = room<uint8_t>(std::max(match->key_len, least_room()));
            return match;
        }
        case Kind::out_data: {
            auto* const record = room<pipe_action_record>();
            give_room(record->action, json);
            return record;
        }
        case Kind::out_action_data: {
            auto* const data = room<pipe_action_data>();
            give_room(*data, json);
            return data;
        }
        case Kind::out_queries:
            return list<pipe_stful_query>(json, argument, [&](const cJSON* each, pipe_stful_query& query) {
                query.count = static_cast<uint32_t>(number_of(each, argument.name));
                query.elements = room<pipe_stful_element>(query.count);
            });
        case Kind::out_counters: {
            const size_t count = count_of_list(nullptr, argument);
            auto* const records = room<pipe_counter_record>(count);
            auto* const addresses = room<uint64_t>(count);
            for (size_t i = 0; i < count; ++i)
                addresses[i] = reinterpret_cast<uintptr_t>(&records[i]);
            return addresses;
        }
        case Kind::out_handles:
        case Kind::out_members:
            return room<uint32_t>(count_of(argument));
        case Kind::out_bytes:
            if (count_of(argument) > most_room) throw LeftOut();
            return room<uint8_t>(count_of(argument) * argument.size);
        case Kind::out_unknown:
            return room<uint8_t>(unknown_room);
        default:
            return room<uint64_t>();
        }
    }

    void give_room(pipe_action_data& data, const cJSON* json) {
        data.data_len = static_cast<uint16_t>(number_of(json, "the room"));
        data.data = room<uint8_t>(std::max(data.data_len, least_room()));
    }

    // In a decoder of placement data the driver alone knows how long keys and action data are.
    uint16_t least_room() const {
        return call.function->arguments[0].kind == Kind::pointer ? 4096 : 0;
    }
};

Player::Player(const Pipeline& pipeline, std::optional<uint32_t> session)
    : pipeline_(pipeline),
      comparison_(pipeline),
      session_(session) {}

bool Player::has_embedded_driver() {
    return driver_function("vl_model_device_add") != nullptr;
}

void Player::add_device(uint64_t device) {
    const auto add = model_function<decltype(vl_model_device_add)>("vl_model_device_add");
    if (add(static_cast<uint32_t>(device), &velmar_switch_pipeline) == VL_MODEL_OK) devices_.insert(device);
}

void Player::deregister_clients() {
    const auto deregister = model_function<decltype(bf_drv_deregister)>("bf_drv_deregister");
    for (const uint32_t client : clients_)
        deregister(client);
    clients_.clear();
}

// Sessions and devices come and go in calls of the embedded driver that aren't recorded, and its answers tell of them.
uint64_t Player::session(uint64_t recorded, uint64_t status) {
    constexpr uint32_t no_session = UINT32_MAX;
    if (session_ || recorded == 0) return recorded == 0 ? 0 : *session_;
    const auto open = model_function<decltype(vl_model_session_open)>("vl_model_session_open");
    const auto close = model_function<decltype(vl_model_session_close)>("vl_model_session_close");
    const auto known = sessions_.find(recorded);
    if (status == VL_MODEL_UNKNOWN_SESSION) {
        if (known != sessions_.end()) close(known->second);
        sessions_.erase(recorded);
        return no_session;
    }
    if (known != sessions_.end()) return known->second;
    uint32_t opened = no_session;
    if (open(&opened) == VL_MODEL_OK) sessions_[recorded] = opened;
    return opened;
}

void Player::follow_device(uint64_t device, uint64_t status) {
    const auto remove = model_function<decltype(vl_model_device_remove)>("vl_model_device_remove");
    const bool is_gone = status == VL_MODEL_UNKNOWN_DEVICE;
    if (devices_.contains(device) != is_gone) return;
    if (!is_gone) return add_device(device);
    remove(static_cast<uint32_t>(device));
    devices_.erase(device);
}

Outcome Player::play(const cJSON* call) {
    const Function& function = *function_named(member(call, "function")->valuestring);
    const cJSON* const raw = member(call, "raw");
    const auto arguments = arguments_of(function, raw);
    Frame frame{.comparison = comparison_};
    frame.call.function = &function;
    frame.place = comparison_.place_of(function, raw);
    const uint64_t status = number_in(call, "status");
    const bool embedded = !session_ && has_embedded_driver();
    try {
        for (const bool in_memory : {false, true}) // words first: they say how long lists are
            for (size_t i = 0; i < function.count; ++i) {
                const Argument& argument = function.arguments[i];
                if (arguments[i] == nullptr && argument.kind == Kind::number) continue; // it is 0
                if (arguments[i] == nullptr) refuse(std::string("there is no argument ") + argument.name);
                const bool is_word =
                    argument.kind < Kind::match || argument.kind == Kind::cookie || argument.kind == Kind::pointer;
                if (is_word == in_memory || (in_memory && cJSON_IsNull(arguments[i]))) continue;
                const size_t unknown_room = std::max(capture_size_, least_unknown_room);
                frame.call.words[i] =
                    is_word ? frame.word(argument, arguments[i])
                            : reinterpret_cast<uintptr_t>(frame.memory_for(argument, arguments[i], unknown_room));
                if (argument.kind == Kind::by_value && frame.call.words[i] == 0) refuse("a record is missing");
            }
    } catch (const LeftOut&) {
        return Outcome::left_out;
    }
    // The embedded driver takes the device and the session as words of this call.
    const bool is_restore = function.arguments[0].kind == Kind::wide;
    if (embedded && is_restore) {
        follow_device(static_cast<uint32_t>(frame.call.words[0]), status);
        frame.call.words[1] = session(frame.call.words[1], status);
    }
    uint32_t device = 0;
    if (embedded && device_of(frame.call, device)) follow_device(device, status);
    if (const size_t at = position_of(function, Kind::session); at != function.count)
        frame.call.words[at] = session(frame.call.words[at], status);

    void* const driver = driver_function(function.name);
    if (driver == nullptr) throw std::runtime_error(std::string("the driver has no function ") + function.name);
    note_room(frame.call);
    frame.call.status = callers[&function - functions](driver, frame.call.words);

    line_.clear();
    line_ += "{\"seq\":0";
    put_call(line_, pipeline_, frame.call);
    line_ += '}';
    const Json came(cJSON_ParseWithLength(line_.view().data(), line_.view().size()));
    const cJSON* const outputs = member(came.get(), "outputs");
    capture_size_ = std::max(capture_size_, std::min<size_t>(number_in(outputs, "total_size"), most_room));
    if (const uint64_t client = number_in(outputs, "client"); client != 0)
        clients_.insert(static_cast<uint32_t>(client));
    differences_ = comparison_.differences(call, came.get(), false);
    if (differences_.empty()) return Outcome::same;
    return differences_[0].name != "status" && depends_on_packets(function.name) ? Outcome::by_packets
                                                                                 : Outcome::differs;
}

} // namespace pd_watch
