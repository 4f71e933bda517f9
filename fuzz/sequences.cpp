// Fuzzes sequences of calls of the library on the embedded driver, on one table and, if it has one, its action profile.
// A plain model of maps says what each call must return, and in the end what the table must hold: by handle, by key, in
// the software, in the hardware, and as placed. An input is the table, its capacity and the calls.
#include <map>
#include <set>

#include "fuzz/input.h"
#include "support/library.h"
#include "vl_model/testing.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace {

using namespace support;
using catalog::Match;
using fuzz::demand;

constexpr pd_meter_spec meter_spec = {1, 2, 3, 4, PD_METER_TYPE_COLOR_AWARE};
constexpr size_t record_room = 1024; // more than any record

// A value of so many bits, as a byte chooses.
uint32_t value_of(unsigned bits, uint8_t choice) {
    constexpr uint32_t values[] = {0, 1, ~0u, 0x5A3C6699};
    const uint32_t value = values[choice % 4];
    return bits >= 32 ? value : value & ((1u << bits) - 1);
}

void put(Bytes& record, unsigned offset, unsigned bytes, uint32_t value) {
    if (bytes > 4)
        std::fill_n(record.begin() + offset, bytes, static_cast<uint8_t>(value));
    else
        std::memcpy(&record[offset], &value, bytes);
}

// A key as the table holds it: the bits that a mask or a prefix leaves out are clear.
struct Key {
    Bytes record;
    uint32_t priority = 0;
    bool is_bad = false; // a prefix is longer than its field

    friend bool operator<(const Key& left, const Key& right) {
        return std::tie(left.record, left.priority) < std::tie(right.record, right.priority);
    }
};

// What an entry or a member is: an action with its record, or the handle of a member or a group.
struct Content {
    const catalog::Binding* binding = nullptr;
    Bytes spec = {};
    pd_member member = 0;
    pd_group group = 0;
};

struct Entry {
    Key key;
    Content content;
};

struct Group {
    uint32_t most = 0;
    bool has_action = false;
    std::map<pd_member, uint32_t> members; // with their states
};

size_t number_of_action(const catalog::Binding& binding) {
    return catalog::number_of(catalog::program.actions, binding.action);
}

class Sequence {
public:
    explicit Sequence(fuzz::Input& input) : in_(input), table_(choose_table(input)) {
        vl_model_reset();
        vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
        p4_pd_velmar_switch_init();
        vl_model_device_add(device, &velmar_switch_pipeline);
        vl_model_session_open(&session_);
        capacity_ = 1 + in_.below(6);
        const size_t profile = catalog::profile_of(catalog::program, table_);
        if (profile != catalog::not_found) profile_ = &catalog::program.profiles[profile];
        std::vector<uint32_t> limited = {table_.handle};
        if (profile_ != nullptr) limited.insert(limited.end(), {profile_->data_table, profile_->selector});
        for (const uint32_t handle : limited)
            vl_model_table_set_capacity(device, handle, static_cast<uint32_t>(capacity_));
        for (const catalog::Binding& binding : table_.actions)
            if (for_default(binding)) initial_default_ = initial_content(binding);
        default_ = initial_default_;
    }

    void run() {
        while (!in_.empty()) {
            const size_t choice = in_.below(profile_ != nullptr ? 20 : 10);
            if (choice >= 10)
                change_profile(choice - 10);
            else if (choice >= 8 || layout_.field_count == 0)
                change_default();
            else
                change_entries(choice);
        }
        read_back();
        demand(vl_model::live_allocations() == 0, "memory leaks");
    }

private:
    static const catalog::Table& choose_table(fuzz::Input& input) {
        static const std::vector<const catalog::Table*> tables = all_tables();
        // Every fourth input has an action profile.
        if (const uint8_t choice = input.byte(); choice % 4 == 0)
            return table_named(catalog::program.profiles[choice / 4 % catalog::program.profiles.size()].table);
        return *tables[input.below(tables.size())];
    }

    void expect(const std::string& name, uint32_t status, uint32_t expected) const {
        demand(status == expected, name + " returned " + std::to_string(status) + ", not " + std::to_string(expected));
    }
    uint32_t call_row(const char* row, const std::string& operation, std::initializer_list<Word> words) const {
        return call(exported(row) + "_" + operation, words);
    }
    void expect_row(const char* row, const std::string& operation, std::initializer_list<Word> words,
                    uint32_t expected) const {
        expect(row + ("_" + operation), call_row(row, operation, words), expected);
    }
    void expect_table(const std::string& operation, std::initializer_list<Word> words, uint32_t expected) const {
        expect_row(table_.name, operation, words, expected);
    }
    void expect_profile(const std::string& operation, std::initializer_list<Word> words, uint32_t expected) const {
        expect_row(profile_->name, operation, words, expected);
    }

    // One byte chooses all fields alike, or each field has a byte.
    Key make_key() {
        Key key{Bytes(layout_.record_size)};
        const uint8_t all = in_.byte();
        if (has_priority(table_)) key.priority = in_.byte() % 4;
        for (size_t i = 0; i < layout_.field_count; ++i) {
            const catalog::KeyField& field = table_.key.begin()[i];
            const catalog::FieldLayout& place = layout_.fields[i];
            const uint8_t choice = all < 192 ? all : in_.byte();
            const uint8_t partner = choice / 4;
            put(key.record, place.record_offset, place.record_bytes, value_of(field.bits, choice));
            if (field.match == Match::ternary)
                put(key.record, place.partner_offset, place.partner_bytes,
                    value_of(field.bits, static_cast<uint8_t>(partner + 2)));
            if (field.match != Match::lpm) continue;
            const unsigned lengths[] = {field.bits, 0, field.bits / 2 + 1, field.bits + 1};
            put(key.record, place.partner_offset, place.partner_bytes, lengths[partner % 4]);
            key.is_bad |= partner % 4 == 3;
        }
        return key;
    }
    Key held(Key key) const {
        for (size_t i = 0; i < layout_.field_count && !key.is_bad; ++i) {
            const catalog::KeyField& field = table_.key.begin()[i];
            const catalog::FieldLayout& place = layout_.fields[i];
            if (field.match == Match::ternary)
                for (unsigned b = 0; b < place.record_bytes; ++b)
                    key.record[place.record_offset + b] &= key.record[place.partner_offset + b];
            if (field.match != Match::lpm) continue;
            // A 32-bit value is in the machine's order, a 128-bit one in network order.
            for (unsigned bit = key.record[place.partner_offset]; bit < field.bits; ++bit)
                key.record[place.record_offset + (field.bits == 32 ? 3 - bit / 8 : bit / 8)] &=
                    static_cast<uint8_t>(~(0x80u >> bit % 8));
        }
        return key;
    }
    Word priority_word(const Key& key) const {
        return has_priority(table_) ? Word(dirty(key.priority)) : std::nullopt;
    }

    Content make_content(const catalog::Binding& binding) {
        Content content{.binding = &binding};
        const catalog::ActionLayout layout = catalog::action_layout(action_of(binding));
        content.spec.resize(layout.record_size);
        const uint8_t choice = layout.param_count == 0 ? uint8_t{0} : in_.byte();
        for (size_t i = 0; i < layout.param_count; ++i) {
            const catalog::ParamLayout& param = layout.params[i];
            // An index has 16 bits.
            const unsigned bits = param.role == catalog::Role::data ? param.bits : std::min(param.bits, 16u);
            put(content.spec, param.record_offset, param.record_bytes,
                value_of(bits, static_cast<uint8_t>(choice >> i % 4)));
        }
        return content;
    }
    // Zero data and no resource.
    static Content initial_content(const catalog::Binding& binding) {
        const catalog::ActionLayout layout = catalog::action_layout(action_of(binding));
        Content content{.binding = &binding, .spec = Bytes(layout.record_size)};
        for (size_t i = 0; i < layout.param_count; ++i)
            if (layout.params[i].role == catalog::Role::slot_index)
                put(content.spec, layout.params[i].record_offset, layout.params[i].record_bytes, PD_NO_INDEX);
        return content;
    }
    static Word spec_word(const Content& content) {
        return content.spec.empty() ? std::nullopt : Word(word(content.spec.data()));
    }
    Word meter_word() const {
        return catalog::same(table_.name, "l2LookupMiss") ? Word(word(&meter_spec)) : std::nullopt;
    }

    // Mostly a handle of the map.
    template <class Map>
    uint32_t pick(const Map& map) {
        const uint8_t choice = in_.byte();
        if (choice < 0xE0 && !map.empty())
            return std::next(map.begin(), static_cast<std::ptrdiff_t>(choice % map.size()))->first;
        return choice % 3 == 0 ? last_deleted_ : choice % 3 == 1 ? 0 : in_.word();
    }
    template <class Map>
    void forget(Map& map, uint32_t handle) {
        last_deleted_ = handle;
        map.erase(handle);
    }

    uint32_t find(const Key& key) const {
        for (const auto& [handle, entry] : entries_)
            if (!(entry.key < key) && !(key < entry.key)) return handle;
        return 0;
    }
    uint32_t uses_of(uint32_t Content::*target, uint32_t handle) const {
        uint32_t uses = default_ && (*default_).*target == handle ? 1 : 0;
        for (const auto& [entry_hdl, entry] : entries_)
            uses += entry.content.*target == handle;
        return uses;
    }

    // What a write sends: an action of the table's, or a member or group of the profile's.
    struct Target {
        std::string operation;
        Content content;
        std::vector<Word> words;
        uint32_t refused = 0; // the shadow's status
    };
    Target make_target(const std::string& direct, const std::string& indirect, bool of_default) {
        if (profile_ == nullptr) {
            std::vector<const catalog::Binding*> bindings;
            for (const catalog::Binding& binding : table_.actions)
                if (of_default ? for_default(binding) : for_entries(binding)) bindings.push_back(&binding);
            if (bindings.empty()) return {};
            Target target{direct, make_content(*bindings[in_.below(bindings.size())]), {}};
            target.operation += target.content.binding->action;
            return target;
        }
        if (in_.byte() % 2 == 0) {
            const pd_member member = pick(members_);
            return {indirect, {.member = member}, {dirty(member)}, refusal_of_member(member)};
        }
        const pd_group group = pick(groups_);
        const auto found = groups_.find(group);
        const bool has_action = found != groups_.end() && found->second.has_action;
        return {indirect + "_with_selector",
                {.group = group},
                {dirty(group)},
                group == 0    ? uint32_t{VL_MODEL_INVALID}
                : !has_action ? uint32_t{VL_MODEL_NOT_FOUND}
                              : 0};
    }
    uint32_t refusal_of_member(pd_member member) const {
        return member == 0 ? uint32_t{VL_MODEL_INVALID} : members_.contains(member) ? 0 : uint32_t{VL_MODEL_NOT_FOUND};
    }
    Word target_of(const Target& target) const {
        return profile_ == nullptr ? spec_word(target.content) : target.words[0];
    }

    void change_entries(size_t choice) {
        if (choice == 0 || choice == 1) return add_entry();
        const bool by_key = choice % 2 == 1;
        const Key given = by_key ? make_key() : Key{};
        const pd_entry handle = by_key ? find(held(given)) : pick(entries_);
        const auto found = entries_.find(handle);
        const uint32_t missing = given.is_bad              ? uint32_t{VL_MODEL_BAD_KEY}
                                 : found == entries_.end() ? uint32_t{VL_MODEL_NOT_FOUND}
                                                           : 0;
        const uint64_t key = word(given.record.data());
        switch (choice) {
        case 2:
        case 3: {
            const Target target = make_target("table_modify_with_", "modify_entry", false);
            if (target.operation.empty()) return;
            const uint32_t status = target.refused != 0 ? target.refused : missing;
            if (by_key)
                expect_table(target.operation + "_by_match_spec",
                             {session_, target_word, key, priority_word(given), target_of(target), meter_word()},
                             status);
            else
                expect_table(target.operation, {session_, device, dirty(handle), target_of(target), meter_word()},
                             status);
            if (status == 0) found->second.content = target.content;
            return;
        }
        case 4:
            expect_table("table_delete", {session_, device, dirty(handle)}, missing);
            break;
        case 5:
            expect_table("table_delete_by_match_spec", {session_, target_word, key, priority_word(given)}, missing);
            break;
        case 6:
            return check_entry(handle);
        default: {
            pd_entry got = 0;
            expect_table("match_spec_to_entry_hdl", {session_, target_word, key, priority_word(given), word(&got)},
                         missing);
            demand(got == (missing == 0 ? handle : 0), "another entry was found");
            return;
        }
        }
        if (missing == 0) forget(entries_, handle);
    }
    void add_entry() {
        const Key given = make_key();
        const Target target = make_target("table_add_with_", "add_entry", false);
        if (target.operation.empty()) return;
        const Key key = held(given);
        const uint32_t status = target.refused != 0            ? target.refused
                                : key.is_bad                   ? uint32_t{VL_MODEL_BAD_KEY}
                                : find(key) != 0               ? uint32_t{VL_MODEL_EXISTS}
                                : entries_.size() >= capacity_ ? uint32_t{VL_MODEL_TABLE_FULL}
                                                               : 0;
        pd_entry made = 0;
        expect_table(target.operation,
                     {session_, target_word, word(given.record.data()), priority_word(key), target_of(target),
                      meter_word(), table_.ttl_on_add ? Word(dirty(60)) : std::nullopt, word(&made)},
                     status);
        if (status != 0) return;
        demand(made != 0 && !entries_.contains(made), "the handle of a new entry isn't new");
        entries_[made] = {key, target.content};
    }

    void change_default() {
        pd_entry made = 0;
        if (in_.byte() % 4 == 0) {
            expect_table("table_reset_default_entry", {session_, target_word}, 0);
            default_ = initial_default_;
            return;
        }
        const Target target = make_target("set_default_action_", "set_default_entry", true);
        if (target.operation.empty()) return;
        expect_table(target.operation, {session_, target_word, target_of(target), meter_word(), word(&made)},
                     target.refused);
        if (target.refused == 0) default_ = target.content;
    }

    void change_profile(size_t choice) {
        const auto bindings = profile_->actions;
        const catalog::Binding& binding = bindings.begin()[in_.below(bindings.size())];
        const pd_member member = choice < 2 ? 0 : pick(members_);
        const pd_group group = choice < 4 ? 0 : pick(groups_);
        const auto group_at = groups_.find(group);
        const bool has_group = group_at != groups_.end();
        const bool has_member = has_group && group_at->second.members.contains(member);
        uint32_t made = 0;
        switch (choice) {
        case 0: {
            const Content content = make_content(binding);
            const bool full = members_.size() >= capacity_;
            expect_profile(std::string("add_member_with_") + binding.action,
                           {session_, target_word, spec_word(content), word(&made)}, full ? VL_MODEL_TABLE_FULL : 0);
            if (!full) members_[made] = content;
            return;
        }
        case 1: {
            const bool full = groups_.size() >= capacity_;
            const uint32_t most = in_.byte() % 4;
            expect_profile("create_group", {session_, target_word, most, word(&made)}, full ? VL_MODEL_TABLE_FULL : 0);
            if (!full) groups_[made].most = most;
            return;
        }
        case 2: {
            const Content content = make_content(binding);
            uint32_t status = refusal_of_member(member);
            if (status == 0 && members_[member].binding != &binding) status = PD_STATUS_MISMATCH;
            expect_profile(std::string("modify_member_with_") + binding.action,
                           {session_, device, dirty(member), spec_word(content)}, status);
            if (status == 0) members_[member] = content;
            return;
        }
        case 3: {
            uint32_t uses = uses_of(&Content::member, member);
            for (const auto& [handle, each] : groups_)
                uses += each.members.contains(member);
            const uint32_t status = !members_.contains(member) ? uint32_t{VL_MODEL_NOT_FOUND}
                                    : uses != 0                ? uint32_t{VL_MODEL_IN_USE}
                                                               : 0;
            expect_profile("del_member", {session_, device, dirty(member)}, status);
            if (status == 0) forget(members_, member);
            return;
        }
        case 4: {
            const uint32_t status = !has_group                             ? uint32_t{VL_MODEL_NOT_FOUND}
                                    : uses_of(&Content::group, group) != 0 ? uint32_t{VL_MODEL_IN_USE}
                                                                           : 0;
            expect_profile("del_group", {session_, device, dirty(group)}, status);
            if (status == 0) forget(groups_, group);
            return;
        }
        case 5: {
            uint32_t status = refusal_of_member(member);
            if (status == 0)
                status = !has_group ? uint32_t{VL_MODEL_NOT_FOUND} : has_member ? uint32_t{VL_MODEL_EXISTS} : 0;
            if (status == 0 && group_at->second.most != 0 && group_at->second.members.size() >= group_at->second.most)
                status = VL_MODEL_GROUP_FULL;
            expect_profile("add_member_to_group", {session_, device, dirty(group), dirty(member)}, status);
            if (status != 0) return;
            group_at->second.members[member] = P4_PD_GRP_MBR_STATE_ACTIVE;
            group_at->second.has_action = true;
            return;
        }
        case 6:
            expect_profile("del_member_from_group", {session_, device, dirty(group), dirty(member)},
                           has_member ? 0 : VL_MODEL_NOT_FOUND);
            if (has_member) group_at->second.members.erase(member);
            return;
        case 7: {
            const uint32_t state = in_.byte() % 3;
            expect_profile("group_member_state_set", {session_, target_word, dirty(group), dirty(member), dirty(state)},
                           state == 2   ? uint32_t{PD_STATUS_INVALID}
                           : has_member ? 0
                                        : uint32_t{VL_MODEL_NOT_FOUND});
            if (has_member && state != 2) group_at->second.members[member] = state;
            return check_state(group, member);
        }
        case 8:
            return restart_by_log();
        default:
            return restart_by_replay();
        }
    }

    // The agent restarts, and the driver hands back the state that it logged.
    void restart_by_log() {
        const std::unique_ptr<char, decltype(&std::free)> log(vl_model_state_log(device), std::free);
        vl_model_device_state_drop(device);
        expect("vl_model_state_restore", vl_model_state_restore(device, log.get()), 0);
        const std::unique_ptr<char, decltype(&std::free)> again(vl_model_state_log(device), std::free);
        demand(std::string(log.get()) == again.get(), "a restored state is logged differently");
    }
    // The agent restarts, and the driver replays its tables. A group without members has no action then.
    void restart_by_replay() {
        vl_model_device_state_drop(device);
        expect("restore_virtual_dev_state", p4_pd_velmar_switch_restore_virtual_dev_state(device, session_, 0, 0, 0),
               0);
        for (auto& [handle, group] : groups_)
            group.has_action = !group.members.empty();
    }

    // Whether what was read is this content: an action's number with its record, or handles.
    void check_content(const Content& content, uint32_t number, const Bytes& spec, const uint8_t (&has)[2],
                       const uint32_t (&handles)[2]) const {
        if (profile_ != nullptr && content.binding == nullptr) {
            demand(has[0] == (content.member != 0) && has[1] == (content.group != 0), "has_mbr or has_grp is wrong");
            demand(handles[has[1]] == (has[1] != 0 ? content.group : content.member), "another member or group");
            return;
        }
        demand(number == number_of_action(*content.binding), "another action than was written");
        demand(std::equal(content.spec.begin(), content.spec.end(), spec.begin()),
               "another parameter than was written");
    }
    void check_entry(pd_entry handle) const {
        const auto found = entries_.find(handle);
        for (const uint32_t from_hw : {0u, 1u}) {
            Bytes key(record_room), spec(record_room);
            uint32_t priority = 0, number = 0, handles[2] = {};
            uint8_t is_default = 0, has[2] = {};
            const bool direct = profile_ == nullptr;
            const auto only = [](bool given, uint64_t value) { return given ? Word(value) : std::nullopt; };
            expect_table("get_entry",
                         {session_, device, dirty(handle), dirty(from_hw), word(key.data()),
                          only(has_priority(table_), word(&priority)), only(direct, 0),
                          word(direct ? spec.data() : &has[0]),
                          word(direct ? reinterpret_cast<uint8_t*>(&number) : &has[1]),
                          only(!direct, word(&handles[1])), only(!direct, word(&handles[0])), word(&is_default)},
                         found != entries_.end()                  ? 0
                         : default_ && handle == default_handle() ? 0
                                                                  : VL_MODEL_NOT_FOUND);
            if (found == entries_.end()) continue;
            const Entry& entry = found->second;
            demand(std::equal(entry.key.record.begin(), entry.key.record.end(), key.begin()), "another key was read");
            demand(priority == entry.key.priority && is_default == 0, "another priority was read");
            check_content(entry.content, number, spec, has, handles);
        }
    }
    pd_entry default_handle() const {
        pd_entry handle = 0;
        expect_table("table_get_default_entry_handle", {session_, target_word, word(&handle)},
                     default_ ? 0 : VL_MODEL_NOT_FOUND);
        return handle;
    }

    void check_default() const {
        for (const uint32_t from_hw : {0u, 1u}) {
            Bytes record(record_room);
            uint8_t has[2] = {};
            uint32_t handles[2] = {};
            if (profile_ != nullptr)
                expect_table("table_get_default_entry",
                             {session_, target_word, from_hw, word(&has[0]), word(&has[1]), word(&handles[1]),
                              word(&handles[0])},
                             default_ ? 0 : VL_MODEL_NOT_FOUND);
            else
                expect_table("table_get_default_entry", {session_, target_word, from_hw, word(record.data())},
                             default_ ? 0 : VL_MODEL_NOT_FOUND);
            if (default_) check_record(*default_, record, has, handles);
        }
    }
    void check_record(const Content& content, const Bytes& record, const uint8_t (&has)[2],
                      const uint32_t (&handles)[2]) const {
        uint32_t number = 0;
        std::memcpy(&number, record.data(), sizeof number);
        check_content(content, number, Bytes(record.begin() + sizeof number, record.end()), has, handles);
    }

    // The walk and the count give the handles of the map.
    template <class Map>
    void check_walk(const char* row, const char* count_name, const char* first_name, const char* next_name,
                    const Map& map) const {
        uint32_t count = 0;
        expect_row(row, count_name, {session_, target_word, word(&count)}, 0);
        demand(count == map.size(), std::string(row) + " has another number of rows");
        std::vector<uint32_t> handles(8, PD_HDL_END);
        expect_row(row, first_name, {session_, target_word, word(handles.data())},
                   map.empty() ? VL_MODEL_NOT_FOUND : 0);
        if (map.empty()) return;
        expect_row(row, next_name, {session_, target_word, handles[0], handles.size() - 1, word(&handles[1])}, 0);
        const std::set<uint32_t> walked(handles.begin(), std::find(handles.begin(), handles.end(), PD_HDL_END));
        std::set<uint32_t> expected;
        for (const auto& [handle, each] : map)
            expected.insert(handle);
        demand(walked == expected, std::string(row) + " lists other rows");
    }

    void check_placement(pd_entry handle) const {
        const void* placed = nullptr;
        char message[128] = "";
        expect_table("get_plcmt_data", {session_, target_word, 0, handle, word(&placed)}, 0);
        const uint32_t equal =
            call_row(table_.name, "plcmt_data_eq_to_hw", {session_, device, 0, handle, word(placed), word(message)});
        demand(equal == 1, std::string(table_.name) + ": the hardware differs: " + message);
    }

    void read_back() {
        check_default();
        if (default_) check_placement(default_handle());
        if (layout_.field_count != 0)
            check_walk(table_.name, "get_entry_count", "get_first_entry_handle", "get_next_entry_handles", entries_);
        for (const auto& [handle, entry] : entries_) {
            check_entry(handle);
            check_placement(handle);
            pd_entry found = 0;
            expect_table("match_spec_to_entry_hdl",
                         {session_, target_word, word(entry.key.record.data()), priority_word(entry.key), word(&found)},
                         0);
            demand(found == handle, "an entry isn't found by its key");
        }
        if (profile_ == nullptr) return;
        check_walk(profile_->name, "get_act_prof_entry_count", "get_first_member", "get_next_members", members_);
        check_walk(profile_->name, "get_selector_group_count", "get_first_group", "get_next_groups", groups_);
        for (const auto& [handle, content] : members_) {
            Bytes record(record_room);
            expect_profile("get_member", {session_, device, handle, 1, word(record.data())}, 0);
            check_record(content, record, {}, {});
        }
        for (const auto& [handle, group] : groups_) {
            uint32_t count = 0;
            expect_profile("get_selector_group_member_count", {session_, target_word, handle, word(&count)}, 0);
            demand(count == group.members.size(), "a group has another number of members");
            for (const auto& [member, state] : group.members)
                check_state(handle, member);
        }
    }
    void check_state(pd_group group, pd_member member) const {
        uint32_t state = 2;
        const auto found = groups_.find(group);
        const bool has_member = found != groups_.end() && found->second.members.contains(member);
        expect_profile("group_member_state_get", {session_, target_word, group, member, word(&state)},
                       has_member ? 0 : VL_MODEL_NOT_FOUND);
        demand(state == (has_member ? found->second.members.at(member) : 2), "a member has another state");
    }

    fuzz::Input& in_;
    const catalog::Table& table_;
    const catalog::KeyLayout layout_ = catalog::key_layout(table_);
    const catalog::Profile* profile_ = nullptr;
    pd_session session_ = 0;
    size_t capacity_ = 0;
    uint32_t last_deleted_ = 0; // of any kind
    std::map<pd_entry, Entry> entries_;
    std::optional<Content> default_, initial_default_;
    std::map<pd_member, Content> members_;
    std::map<pd_group, Group> groups_;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    GTEST_FLAG_SET(throw_on_failure, true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    Sequence(input).run();
    return 0;
}
