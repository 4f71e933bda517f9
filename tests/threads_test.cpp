// Many threads use the library and the embedded driver at once. Each has rows of its own, which stay as it made them
// while others read them, change theirs, end registrations and remove devices. The thread sanitizer looks on.
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <mutex>
#include <optional>
#include <random>
#include <thread>

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cjson/cJSON.h>

#include "support/every_export.h"
#include "support/text.h"
#include "vl_driver/digests.h"
#include "vl_driver/idle.h"
#include "vl_driver/profiles.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"
#include "vl_model/testing.h"
#include "vl_model/traffic.h"
#include "vl_pd/velmar_switch_pipeline.h"

// Lets other threads get in between two calls. Only the thread sanitizer needs that to see a race; on a busy machine it
// takes long.
static void let_others_run() {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
    std::this_thread::yield();
#endif
#endif
}

// Replaces the driver's function, which ends some reads. Other threads get a turn before it takes the driver's lock.
void bf_sys_free(void* memory) {
    static const auto driver = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "bf_sys_free"));
    let_others_run();
    driver(memory);
}

namespace {

using namespace support;
using catalog::program;

constexpr unsigned worker_count = 8, phase_count = 36;
constexpr unsigned slot_count = 64; // of a worker's rows; with its number a slot makes keys of nine bits
constexpr unsigned path_count = 8;  // of a worker in a profile
constexpr pd_device second_device = 4;
constexpr pd_dev_tgt second_target = {.dev_id = second_device, .pipe_id = PD_ALL_PIPES, .reserved = 0};

// Exact, masked and prefix keys; narrow and wide fields; actions with and without a resource.
constexpr const char* table_names[] = {"ipv4Host",         "ipv6Host",         "l2LearningLookup", "l2LookupMiss",
                                       "ipv4ShortMaskLpm", "ipv6ShortMaskLpm", "trapToCpu",        "pdpClassify",
                                       "l2DmacClassify",   "haloXformIpv6Dip", "l2Lookup"};

std::array<std::mutex, program.profiles.size()> profile_mutexes;
std::atomic<uint32_t> digests_delivered, digests_raised;

// What a callback gets. It is freed when the registration has ended.
struct Cookie {
    pd_session session;
    std::atomic<uint32_t>& calls;
    Cookie(pd_session its_session, std::atomic<uint32_t>& its_calls) : session(its_session), calls(its_calls) {}
    ~Cookie() {
        session = 0;
    }
    Cookie(const Cookie&) = delete;
    Cookie& operator=(const Cookie&) = delete;
};

class Use {
public:
    explicit Use(void* cookie) : cookie_(static_cast<Cookie*>(cookie)) {}
    ~Use() {
        let_others_run();
        EXPECT_NE(cookie_->session, 0u);
        ++cookie_->calls;
    }
    pd_session session() const {
        return cookie_->session;
    }

private:
    Cookie* cookie_;
};

void on_entry(pipe_sess_hdl, pipe_dev_tgt at, pipe_tbl_hdl table, pipe_ent_hdl entry, uint32_t, void* cookie) {
    const Use use(cookie);
    char text[4096];
    p4_pd_velmar_switch_entry_value(use.session(), at.dev_id, table, entry, 0, text);
}
void on_time_out(pipe_dev_id dev_id, pipe_tbl_hdl, pipe_ent_hdl entry, void* cookie) {
    const Use use(cookie);
    p4_pd_velmar_switch_l2LearningLookup_reset_ttl(use.session(), dev_id, entry);
}
pipe_status on_digest(pipe_sess_hdl, pipe_digest_msg* message, void* cookie) {
    const Use use(cookie);
    uint32_t size = 0;
    EXPECT_NE(p4_pd_velmar_switch_get_digest_entry_field(message->entries, "macLearningDigest", "ingMd_smacOui", &size),
              nullptr);
    ++digests_delivered;
    return p4_pd_velmar_switch_macLearningDigest_notify_ack(use.session(), message);
}
// Changes of a profile, and cells that were read.
template <class... Args>
void on_call(Args... args) {
    const Use use(std::get<sizeof...(Args) - 1>(std::tuple(args...)));
    const uint32_t value = 7;
    EXPECT_EQ(p4_pd_velmar_switch_register_write_quota(use.session(), target, 9999, &value), 0u);
}

template <class... Args>
uint64_t function(void (*callback)(Args...)) {
    return reinterpret_cast<uintptr_t>(callback);
}

// A registration that is replaced again and again, each time with a cookie of its own.
struct Registered {
    std::string begin, end; // exported functions; the end of most is another beginning
    uint64_t where, callback;
    std::unique_ptr<Cookie> cookie{};
    std::atomic<uint32_t> calls = 0;

    void start(pd_session session) {
        auto added = std::make_unique<Cookie>(session, calls);
        if (end != begin && cookie != nullptr) stop(session);
        EXPECT_EQ(call(exported(begin), {session, where, callback, word(added.get())}), 0u) << begin;
        cookie = std::move(added);
        let_others_run();
    }
    void stop(pd_session session) {
        EXPECT_EQ(call(exported(end), {session, where, 0, 0}), 0u) << end;
        cookie.reset();
    }
};

std::vector<std::unique_ptr<Registered>> registrations() {
    std::vector<std::unique_ptr<Registered>> all;
    const auto add = [&](const std::string& begin, uint64_t where, uint64_t callback, const std::string& end = "") {
        all.emplace_back(new Registered{begin, end.empty() ? begin : end, where, callback});
    };
    for (const std::string table : table_names)
        add(table + "_register_mat_update_cb", device, function(on_entry));
    for (const catalog::Profile& each : program.profiles) {
        const std::string name = each.name;
        add(each.table + std::string("_register_mat_update_cb"), device, function(on_entry));
        add(name + "_register_adt_update_cb", target_word,
            function(on_call<uint32_t, pipe_dev_tgt, uint32_t, uint32_t, uint32_t, void*>));
        add(name + "_register_sel_update_cb", target_word,
            function(on_call<uint32_t, pipe_dev_tgt, uint32_t, uint32_t, uint32_t, uint32_t, void*>));
        add(name + "_register_callback", target_word,
            function(on_call<uint32_t, pipe_dev_tgt, uint32_t, uint32_t, uint32_t, uint32_t, void*>));
    }
    add("l2LearningLookup_idle_register_tmo_cb", device, function(on_time_out));
    add("macLearningDigest_register", device, reinterpret_cast<uintptr_t>(on_digest), "macLearningDigest_deregister");
    return all;
}

struct Row {
    const catalog::Table* table;
    Bytes key;
    Word priority;
    uint32_t handle = 0;
    const catalog::Binding* action = nullptr; // of a direct table
    Bytes spec{};
};

// A member of a profile, and an entry that points at it or at the worker's group.
struct Path {
    const catalog::Binding* action;
    Bytes spec;
    Row entry;
    uint32_t member = 0;
    bool joined = true, to_group = false;
};

struct Profile {
    uint32_t group = 0;
    std::array<std::optional<Path>, path_count> paths;
};

Word pointer_to(const Bytes& record) {
    return record.empty() ? std::nullopt : Word(word(record.data()));
}

class Worker {
public:
    explicit Worker(unsigned number) : number_(number), random_(number), output_(memfd_create("lines", 0)) {
        EXPECT_EQ(vl_model_session_open(&session_), 0u);
    }
    ~Worker() {
        close(output_);
    }

    // In half of the phases, half of the workers do one kind of step and the others the next, so that they meet in the
    // same data.
    void run(unsigned phase) {
        static constexpr void (Worker::*steps[])() = {
            &Worker::read_a_table, &Worker::change_entry, &Worker::age,         &Worker::use_resources,
            &Worker::raise_digest, &Worker::read_pages,   &Worker::change_path, &Worker::read_a_profile};
        constexpr size_t count = std::size(steps);
        for (unsigned i = 0; i < 16; ++i)
            (this->*steps[phase % 2 == 0 ? pick(count) : (phase / 2 + number_ % 2) % count])();
    }

    // All of this worker's rows are as it made them. Counts them by table and profile.
    void expect_all(std::map<std::string, size_t>& rows) {
        for (const auto& row : rows_)
            if (row) {
                expect_row(*row);
                ++rows[row->table->name];
            }
        for (size_t i = 0; i < profiles_.size(); ++i)
            for (const auto& path : profiles_[i].paths)
                if (path) {
                    expect_path(i, *path);
                    ++rows[program.profiles[i].name];
                    ++rows[program.profiles[i].table];
                }
    }

private:
    unsigned pick(size_t count) {
        return static_cast<unsigned>(random_() % count);
    }
    // Lets other threads run before it takes the driver's lock again. Otherwise that lock would hide most data races.
    pd_status run(const char* row, const std::string& operation, std::initializer_list<Word> words) const {
        const pd_status status = call(exported(row) + "_" + operation, words);
        let_others_run();
        return status;
    }

    void ok(const char* row, const std::string& operation, std::initializer_list<Word> words) const {
        EXPECT_EQ(run(row, operation, words), 0u) << row << " " << operation;
    }

    // A row with a random key, in which this worker and the slot are written.
    Row new_row(const catalog::Table& table, unsigned slot) {
        Row row{.table = &table, .key = random_match_spec(table, random_), .priority = std::nullopt};
        const uint16_t owner = static_cast<uint16_t>(slot * worker_count + number_);
        if (catalog::has_priority(table)) row.priority = owner;
        const catalog::KeyLayout layout = catalog::key_layout(table);
        bool owned = false;
        for (size_t i = 0; i < layout.field_count; ++i) {
            const catalog::FieldLayout& field = layout.fields[i];
            // Of 32 bits, ipv4ShortMaskLpm matches the highest 12.
            const uint32_t bits = field.bits == 32 ? uint32_t{owner} << 20 : owner;
            if (field.bits >= 10 && !std::exchange(owned, true))
                std::memcpy(&row.key[field.record_offset], &bits, field.bits == 32 ? 4 : 2);
            // Every bit is matched, so that it comes back.
            const uint32_t partner = table.key.begin()[i].match == catalog::Match::lpm ? field.bits
                                     : field.bits < 32                                 ? (uint32_t{1} << field.bits) - 1
                                                                                       : ~uint32_t{0};
            for (unsigned at = 0; at < field.partner_bytes; at += 4)
                std::memcpy(&row.key[field.partner_offset + at], &partner, std::min(field.partner_bytes, 4u));
        }
        EXPECT_TRUE(owned) << table.name;
        return row;
    }
    const catalog::Binding& new_action(catalog::List<catalog::Binding> actions, Bytes& spec) {
        for (;;) {
            const catalog::Binding& binding = actions.begin()[pick(actions.size())];
            if (!catalog::for_entries(binding)) continue;
            spec = random_action_spec(action_of(binding), random_);
            const catalog::ActionLayout layout = catalog::action_layout(action_of(binding));
            for (size_t i = 0; i < layout.param_count; ++i) // an index comes back in 16 bits
                if (layout.params[i].role == catalog::Role::slot_index)
                    std::memset(&spec[layout.params[i].record_offset + 2], 0, 2);
            return binding;
        }
    }

    void change_entry() {
        static constexpr pd_meter_spec meter_spec = {1, 2, 3, 4, PD_METER_TYPE_COLOR_AWARE};
        const unsigned slot = pick(slot_count);
        std::optional<Row>& row = rows_[slot];
        const bool is_new = !row;
        if (is_new) {
            row = new_row(table_named(table_names[pick(std::size(table_names))]), slot);
        } else {
            expect_row(*row);
            if (pick(3) == 0) {
                if (pick(2) == 0)
                    ok(row->table->name, "table_delete", {session_, device, row->handle});
                else
                    ok(row->table->name, "table_delete_by_match_spec",
                       {session_, target_word, word(row->key.data()), row->priority});
                return row.reset();
            }
        }
        const char* table = row->table->name;
        row->action = &new_action(row->table->actions, row->spec);
        const std::string with = std::string("with_") + row->action->action;
        const Word key = word(row->key.data()), spec = pointer_to(row->spec),
                   ttl = row->table->ttl_on_add ? Word(1000) : std::nullopt,
                   meter = catalog::same(table, "l2LookupMiss") ? Word(word(&meter_spec)) : std::nullopt;
        if (is_new)
            ok(table, "table_add_" + with,
               {session_, target_word, key, row->priority, spec, meter, ttl, word(&row->handle)});
        else if (pick(2) == 0)
            ok(table, "table_modify_" + with, {session_, device, row->handle, spec, meter});
        else
            ok(table, "table_modify_" + with + "_by_match_spec",
               {session_, target_word, key, row->priority, spec, meter});
        expect_row(*row);
    }

    // Reads it, shows it in all ways, and compares it with the hardware.
    void expect_row(const Row& row) {
        const char* table = row.table->name;
        Bytes key(row.key.size(), 0xA5), spec(row.spec.size(), 0xA5);
        uint32_t priority = 0, number = 0;
        uint8_t is_default = 1;
        char name[61] = "";
        ok(table, "get_entry",
           {session_, device, row.handle, pick(2), word(key.data()),
            row.priority ? Word(word(&priority)) : std::nullopt, word(name), word(spec.data()), word(&number),
            word(&is_default)});
        EXPECT_EQ(hex(key), hex(row.key)) << table;
        EXPECT_EQ(hex(spec), hex(row.spec)) << table;
        EXPECT_EQ(name, exported(row.action->action));
        EXPECT_EQ(priority, row.priority.value_or(0));
        uint32_t taken = 0;
        EXPECT_EQ(send_packet(*row.table, row.key, taken), 0u) << table;
        EXPECT_EQ(taken, row.handle) << table;
        expect_texts(row, text_of(row.action->action + std::string("_value"),
                                  row.spec.empty() ? std::vector<uint64_t>{} : std::vector{word(row.spec.data())}));
    }
    // A packet with the fields of a record.
    uint32_t send_packet(const catalog::Table& table, const Bytes& fields, uint32_t& taken) {
        const catalog::KeyLayout layout = catalog::key_layout(table);
        Bytes key(layout.bytes);
        for (size_t i = 0; i < layout.field_count; ++i) {
            const catalog::FieldLayout& field = layout.fields[i];
            const auto from = fields.begin() + field.record_offset, to = from + field.key_bytes;
            const auto at = key.begin() + field.key_position;
            field.bits == 128 ? std::copy(from, to, at) : std::reverse_copy(from, to, at);
        }
        const uint32_t status = pick(2) == 0
                                    ? vl_model_lookup(device, table.handle, key.data(), layout.bytes, 0, &taken)
                                    : vl_model_packet(device, table.handle, key.data(), layout.bytes, 0, 64, &taken);
        let_others_run();
        return status;
    }
    void expect_texts(const Row& row, const std::string& action) {
        const std::string table = row.table->name;
        const std::string key = text_of(table + "_match_spec_value", {word(row.key.data())});
        EXPECT_EQ(value_of_entry(*row.table, session_, row.handle),
                  "((" + key + action + "),(" + std::to_string(row.priority.value_or(0)) + ",True))");
        const void* data = nullptr;
        char message[256] = "";
        ok(row.table->name, "get_plcmt_data", {session_, target_word, 0, row.handle, word(&data)});
        const bool is_equal =
            run(row.table->name, "plcmt_data_eq_to_hw", {session_, device, 0, row.handle, word(data), word(message)});
        EXPECT_TRUE(is_equal) << message;
        EXPECT_EQ(text_of(table + "_plcmt_data_value", {word(data)}), "(" + key + action + ")");
        if (table == "trapToCpu" || table == "l2DmacClassify") {
            EXPECT_EQ(text_of("stringify_counter_matchspec", {session_, device, row.table->handle, row.handle}),
                      text_of(table + "_match_spec_stringify_for_counter", {word(row.key.data())}));
        }

        EXPECT_EQ(ftruncate(output_, 0), 0);
        EXPECT_EQ(lseek(output_, 0, SEEK_SET), 0);
        ok(row.table->name, "plcmt_data_print", {static_cast<uint32_t>(output_), 2, word(data)});
        std::string lines(4096, 0);
        lines.resize(static_cast<size_t>(pread(output_, lines.data(), lines.size(), 0)));
        for (size_t at = 0; (at = key.find("0x", at)) != key.npos; at += 2) {
            const std::string value = key.substr(at, key.find(',', at) - at);
            if (value.size() == 34) {
                EXPECT_NE(lines.find(": " + value + "\n"), lines.npos) << lines << value;
            }
        }
    }

    // The callers that share a profile take turns.
    void change_path() {
        const size_t which = pick(program.profiles.size());
        const catalog::Profile& profile = program.profiles[which];
        const std::lock_guard turn(profile_mutexes[which]);
        Profile& mine = profiles_[which];
        const unsigned slot = pick(path_count);
        std::optional<Path>& path = mine.paths[slot];
        if (!path) {
            path.emplace();
            path->entry = new_row(table_named(profile.table), slot);
            path->action = &new_action(profile.actions, path->spec);
            ok(profile.name, std::string("add_member_with_") + path->action->action,
               {session_, target_word, pointer_to(path->spec), word(&path->member)});
            if (mine.group == 0) ok(profile.name, "create_group", {session_, target_word, 0, word(&mine.group)});
            ok(profile.name, "add_member_to_group", {session_, device, mine.group, path->member});
            ok(profile.table, "add_entry",
               {session_, target_word, word(path->entry.key.data()), path->entry.priority, path->member,
                word(&path->entry.handle)});
            return expect_path(which, *path);
        }
        expect_path(which, *path);
        switch (pick(4)) {
        case 0:
            path->spec = random_action_spec(action_of(*path->action), random_);
            ok(profile.name, std::string("modify_member_with_") + path->action->action,
               {session_, device, path->member, pointer_to(path->spec)});
            break;
        case 1:
            ok(profile.name, path->joined ? "del_member_from_group" : "add_member_to_group",
               {session_, device, mine.group, path->member});
            path->joined = !path->joined;
            break;
        case 2:
            ok(profile.table, path->to_group ? "modify_entry" : "modify_entry_with_selector",
               {session_, device, path->entry.handle, path->to_group ? path->member : mine.group});
            path->to_group = !path->to_group;
            break;
        default:
            ok(profile.table, "table_delete", {session_, device, path->entry.handle});
            if (path->joined) ok(profile.name, "del_member_from_group", {session_, device, mine.group, path->member});
            ok(profile.name, "del_member", {session_, device, path->member});
            return path.reset();
        }
        expect_path(which, *path);
    }
    void expect_path(size_t which, const Path& path) {
        const catalog::Profile& profile = program.profiles[which];
        pd_action_record record{};
        ok(profile.name, "get_member", {session_, device, path.member, pick(2), word(&record)});
        EXPECT_EQ(record.action_id, catalog::number_of(program.actions, path.action->action));
        EXPECT_TRUE(std::equal(path.spec.begin(), path.spec.end(), reinterpret_cast<const uint8_t*>(record.spec)));

        uint32_t joined = 0;
        ok(profile.name, "get_selector_group_member_count",
           {session_, target_word, profiles_[which].group, word(&joined)});
        EXPECT_EQ(joined, std::count_if(profiles_[which].paths.begin(), profiles_[which].paths.end(),
                                        [](const auto& each) { return each && each->joined; }));
        char points_at[64];
        std::snprintf(points_at, sizeof points_at, "('set%sHdl',(0x%08x,))", path.to_group ? "Grp" : "Mbr",
                      path.to_group ? profiles_[which].group : path.member);
        expect_texts(path.entry, points_at);
    }

    // This and the next step read rows of all workers, which may go away meanwhile. The random numbers of a worker must
    // not depend on them.
    void read_a_table() {
        const catalog::Table& table = table_named(table_names[pick(std::size(table_names))]);
        std::array<uint32_t, 9> handles{};
        const uint32_t status = send_packet(table, random_match_spec(table, random_), handles[0]);
        EXPECT_TRUE(status == 0 || status == VL_MODEL_NOT_FOUND) << status;
        if (run(table.name, "get_first_entry_handle", {session_, target_word, word(handles.data())}) != 0) return;
        run(table.name, "get_next_entry_handles", {session_, target_word, handles[0], 8, word(&handles[1])});
        for (const uint32_t handle : handles) {
            if (handle == 0 || handle == PD_HDL_END) break;
            const std::string text =
                text_of(table.name + std::string("_value"), {session_, device, handle, handle % 2});
            EXPECT_TRUE(text.empty() || (text.starts_with("((( 0x") && text.ends_with(",True))"))) << text;
        }
    }

    void read_a_profile() {
        const char* profile = program.profiles[pick(program.profiles.size())].name;
        std::array<uint32_t, 17> members{}, groups{};
        pd_action_record record;
        if (run(profile, "get_first_member", {session_, target_word, word(members.data())}) != 0) return;
        run(profile, "get_next_members", {session_, target_word, members[0], 16, word(&members[1])});
        run(profile, "get_first_group", {session_, target_word, word(groups.data())});
        run(profile, "get_next_groups", {session_, target_word, groups[0], 16, word(&groups[1])});
        for (const uint32_t member : members)
            run(profile, "get_member", {session_, device, member, member % 2, word(&record)});
        for (const uint32_t group : groups) {
            run(profile, "get_first_group_member", {session_, device, group, word(members.data())});
            run(profile, "get_next_group_members", {session_, device, group, members[0], 16, word(&members[1])});
            run(profile, "group_member_state_get", {session_, target_word, group, members[0], word(&members[1])});
        }
    }

    // Reads the cells of all workers, and checks its own.
    void use_resources() {
        const uint32_t cell = pick(8) * worker_count + number_;
        static constexpr uint32_t counter = 0x4000005;
        const pd_counter_value written = {random_(), random_()};
        pd_counter_value read{};
        EXPECT_EQ(p4_pd_velmar_switch_counter_write_pdpClassCount(session_, target, cell, written), 0u);
        EXPECT_EQ(vl_model_counter_add(device, counter, cell, 3, 4), 0u);
        EXPECT_EQ(p4_pd_velmar_switch_counter_hw_sync_pdpClassCount(session_, target, nullptr, nullptr), 0u);
        EXPECT_EQ(p4_pd_velmar_switch_counter_read_pdpClassCount(session_, target, cell, pick(2), &read), 0u);
        EXPECT_EQ(read.count_a, written.count_a + 3);
        EXPECT_EQ(read.count_b, written.count_b + 4);

        const pd_meter_spec limits = {pick(1000), 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
        pd_meter_spec read_limits{};
        EXPECT_EQ(p4_pd_velmar_switch_meter_set_pdpMeter(session_, target, cell, &limits), 0u);
        EXPECT_EQ(p4_pd_velmar_switch_meter_read_pdpMeter(session_, target, cell, &read_limits), 0u);
        EXPECT_EQ(std::memcmp(&limits, &read_limits, sizeof limits), 0);

        const uint32_t value = pick(1u << 31);
        uint32_t values[VL_MODEL_DEFAULT_PIPES] = {}, count = 0;
        std::atomic<uint32_t> synced = 0;
        Cookie cookie{session_, synced};
        EXPECT_EQ(p4_pd_velmar_switch_register_write_seqNumber(session_, target, cell, &value), 0u);
        EXPECT_EQ(p4_pd_velmar_switch_register_hw_sync_seqNumber(
                      session_, target, reinterpret_cast<pd_driver_callback>(on_call<uint32_t, void*>), &cookie),
                  0u);
        EXPECT_EQ(p4_pd_velmar_switch_register_read_seqNumber(session_, target, cell, pick(2), values, &count), 0u);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(values[0], value);
        EXPECT_EQ(synced, 1u);
        for (uint32_t i = 0; i < 8 * worker_count; ++i) {
            ok("counter", "read_pdpClassCount", {session_, target_word, i, i % 2, word(&read)});
            ok("meter", "read_pdpMeter", {session_, target_word, i, word(&read_limits)});
            ok("register", "read_seqNumber", {session_, target_word, i, i % 2, word(values), word(&count)});
        }
    }

    // The clock moves on. Then the time-to-live of an entry changes, and a packet hits it.
    void age() {
        EXPECT_EQ(vl_model_clock_advance(pick(400)), 0u);
        for (const auto& row : rows_) {
            if (!row || !catalog::same(row->table->name, "l2LearningLookup")) continue;
            const uint32_t ttl = 500 + pick(500);
            uint32_t read = 0, state = 0;
            ok(row->table->name, "set_ttl", {session_, device, row->handle, ttl});
            ok(row->table->name, "get_ttl", {session_, device, row->handle, word(&read)});
            EXPECT_EQ(read, ttl);
            EXPECT_EQ(vl_model_entry_hit(device, row->table->handle, row->handle), 0u);
            ok(row->table->name, "update_hit_state", {session_, device, 0, 0});
            ok(row->table->name, "get_hit_state", {session_, device, row->handle, word(&state)});
        }
    }

    void raise_digest() {
        const uint8_t entry[14] = {static_cast<uint8_t>(number_)};
        const uint32_t status = vl_model_digest_raise(device, 0x9000000, entry, 1);
        digests_raised += status == 0;
        EXPECT_TRUE(status == 0 || status == VL_MODEL_NOT_FOUND) << "the registration may have ended";
    }

    // The schemas of tables by name and by handle, and the state log of a device.
    void read_pages() {
        for (const char* table : table_names)
            EXPECT_EQ(text_of(table + std::string("_schema"), {}), text_of("cli_schema", {table_named(table).handle}));
        char* const log = vl_model_state_log(device);
        cJSON* const parsed = cJSON_Parse(log);
        EXPECT_NE(parsed, nullptr) << log;
        if (parsed != nullptr) {
            EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItem(parsed->child, "act_profs")),
                      static_cast<int>(program.profiles.size()));
        }
        cJSON_Delete(parsed);
        std::free(log);
    }

    const unsigned number_;
    std::mt19937 random_;
    const int output_;
    pd_session session_ = 0;
    std::array<std::optional<Row>, slot_count> rows_;
    std::array<Profile, program.profiles.size()> profiles_;
};

// Adds the second device, loses its state and restores it in one of both ways. Then removes the device while another
// thread adds entries, which a callback reports.
void add_and_remove_a_device(pd_session session, unsigned round) {
    ASSERT_EQ(vl_model_device_add(second_device, &velmar_switch_pipeline), 0u);
    std::atomic<uint32_t> calls = 0;
    auto cookie = std::make_unique<Cookie>(session, calls);
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_register_mat_update_cb(
                  session, second_device, reinterpret_cast<pd_driver_callback>(on_entry), cookie.get()),
              0u);
    pd_member member = 0;
    pd_group group = 0;
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_NoAction(session, second_target, &member),
              0u);
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_create_group(session, second_target, 0, &group), 0u);
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(session, second_device, group, member),
              0u);
    char* const before = vl_model_state_log(second_device);
    EXPECT_EQ(vl_model_device_state_drop(second_device), 0u);
    const auto modify = [&] {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_modify_member_with_NoAction(session, second_device, member);
    };
    EXPECT_NE(modify(), 0u) << "its action is forgotten";
    EXPECT_EQ(round % 2 == 0 ? vl_model_state_restore(second_device, before)
                             : p4_pd_velmar_switch_restore_virtual_dev_state(second_device, session, 0, 0, 0),
              0u);
    EXPECT_EQ(modify(), 0u);
    char* const after = vl_model_state_log(second_device);
    EXPECT_STREQ(before, after);

    std::latch has_begun{1};
    std::thread visitor([&] {
        p4_pd_velmar_switch_ipv4Host_match_spec_t key{};
        const p4_pd_velmar_switch_setNextHop_action_spec_t hop = {5};
        pd_status status = 0;
        for (pd_entry entry = 0; status == 0; ++key.ingIpv4_dip) {
            status = p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, second_target, &key, &hop, &entry);
            if (key.ingIpv4_dip == 0) has_begun.count_down();
        }
        EXPECT_EQ(status, VL_MODEL_UNKNOWN_DEVICE);
    });
    has_begun.wait();
    EXPECT_EQ(vl_model_device_remove(second_device), 0u);
    cookie.reset();
    visitor.join();
    EXPECT_GT(calls, 0u);
    std::free(before);
    std::free(after);
}

TEST(Threads, KeepTheirRows) {
    vl_model_reset();
    p4_pd_velmar_switch_init();
    ASSERT_EQ(vl_model_device_add(device, &velmar_switch_pipeline), 0u);
    pd_session session = 0;
    ASSERT_EQ(vl_model_session_open(&session), 0u);
    pd_idle_params params{};
    params.mode = PIPE_IDLE_MODE_NOTIFY;
    ASSERT_EQ(p4_pd_velmar_switch_l2LearningLookup_idle_tmo_enable(session, device, params), 0u);
    auto registered = registrations();
    for (auto& each : registered)
        each->start(session);

    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned i = 0; i < worker_count; ++i)
        workers.push_back(std::make_unique<Worker>(i));
    std::barrier phase_begins(worker_count + 2);
    std::vector<std::thread> threads;
    const auto start_thread = [&](auto body) {
        threads.emplace_back([&phase_begins, body] {
            for (unsigned phase = 0; phase < phase_count; ++phase) {
                phase_begins.arrive_and_wait();
                body(phase);
            }
        });
    };
    for (auto& worker : workers)
        start_thread([&worker](unsigned phase) { worker->run(phase); });
    start_thread([&](unsigned) {
        for (auto& each : registered)
            each->start(session);
    });
    start_thread([&](unsigned) {
        for (unsigned round = 0; round < 2; ++round)
            add_and_remove_a_device(session, round);
    });
    for (std::thread& thread : threads)
        thread.join();

    std::map<std::string, size_t> rows;
    for (auto& worker : workers)
        worker->expect_all(rows);
    uint32_t count = 0;
    for (const std::string table : table_names) {
        EXPECT_EQ(call(exported(table) + "_get_entry_count", {session, target_word, word(&count)}), 0u);
        EXPECT_EQ(count, rows[table]) << table;
        EXPECT_GT(count, 0u) << table;
    }
    for (const catalog::Profile& profile : program.profiles) {
        EXPECT_EQ(call(exported(profile.name) + "_get_act_prof_entry_count", {session, target_word, word(&count)}), 0u);
        EXPECT_EQ(count, rows[profile.name]) << profile.name;
        EXPECT_GT(count, 0u) << profile.name;
    }
    EXPECT_EQ(vl_model_digest_unacked(device, 0x9000000, &count), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(digests_delivered, digests_raised);
    // All entries that age run out of time now.
    for (auto& each : registered) {
        if (each->callback == function(on_time_out)) {
            each->calls = 0;
            EXPECT_EQ(vl_model_clock_advance(2000), 0u);
            EXPECT_EQ(each->calls, rows["l2LearningLookup"]);
        }
        EXPECT_GT(each->calls, 0u) << each->begin;
        each->stop(session);
    }
    EXPECT_EQ(vl_model::live_allocations(), 0u);
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), 0u);
}

// Every exported function runs on two threads at once, and beside functions that come before it in the list. All have
// equal arguments and get in each other's way, also in profiles, so the driver may refuse any call. Only data races
// count here.
TEST(Threads, CallEveryExport) {
    const ExportCalls first;
    const std::vector<Export>& all = every_export();
    constexpr size_t distances[] = {0, 0, 1, 4};
    std::barrier step_begins(std::size(distances));
    std::vector<std::thread> threads;
    for (const size_t distance : distances)
        threads.emplace_back([&, distance] {
            ExportCalls calls(0, false);
            for (size_t i = 0; i < all.size(); ++i) {
                if (i >= distance) calls.prepare(all[i - distance]);
                step_begins.arrive_and_wait();
                if (i >= distance && calls.run() == 0) calls.keep();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
