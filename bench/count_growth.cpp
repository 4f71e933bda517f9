// For scripts/count-instructions --growth, which runs it under callgrind. The argument is a number of entries. Programs
// that many on the embedded driver, and a tenth as many members and groups, and sends packets to as many entries. Dumps
// what each step cost; the title of a dump tells the step and its number of items.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "match_tables.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

#define PD(object, name) p4_pd_velmar_switch_##object##_##name
#define PATHS(name) PD(ecmpMemberActionProfile, name)

namespace {

constexpr pd_device device = 0;
constexpr pd_dev_tgt target = {.dev_id = device, .pipe_id = PD_ALL_PIPES, .reserved = 0};
pd_session session;

void check(bool ok, const std::string& what) {
    if (ok) return;
    std::fprintf(stderr, "%s failed\n", what.c_str());
    std::exit(1);
}

// `body` does the step for all items.
template <class Body>
void once(const std::string& name, uint32_t items, Body body) {
    const std::string title = name + ',' + std::to_string(items);
    CALLGRIND_ZERO_STATS;
    check(body(), name);
    CALLGRIND_DUMP_STATS_AT(title.c_str());
}

// `body` takes the number of an item, and returns whether the item is as it should be.
template <class Body>
void step(const std::string& name, uint32_t items, Body body) {
    once(name, items, [&] {
        for (uint32_t i = 0; i < items; ++i)
            if (!body(i)) return false;
        return true;
    });
}

// A walk in pages, which gives the handles in the order in which they were made.
template <class First, class Next>
void walk(const std::string& name, const std::vector<uint32_t>& handles, First* first, Next* next) {
    constexpr uint32_t page = 64;
    uint32_t found[page];
    check(first(session, target, found) == 0 && found[0] == handles[0], name);
    step(name, static_cast<uint32_t>(handles.size()) - 1, [&](uint32_t i) {
        return (i % page != 0 || next(session, target, handles[i], page, found) == 0) &&
               found[i % page] == handles[i + 1];
    });
}

// `add` and `find` take the number of an entry, and write its handle. `read` takes the handle and returns the number.
template <class Add, class Find, class Read>
void entries(const std::string& table, uint32_t count, Add add, Find find, Read read, auto* place, auto* verify,
             auto* first, auto* next, auto* remove) {
    std::vector<pd_entry> handles(count);
    step(table + " add", count, [&](uint32_t i) { return add(i, &handles[i]) == 0; });
    step(table + " look-up", count, [&](uint32_t i) {
        pd_entry found = 0;
        return find(i, &found) == 0 && found == handles[i];
    });
    step(table + " read", count, [&](uint32_t i) { return read(handles[i]) == i; });
    walk(table + " walk", handles, first, next);
    step(table + " verify", count, [&](uint32_t i) {
        const void* data = nullptr;
        char message[66];
        return place(session, target, 0, handles[i], &data) == 0 &&
               verify(session, device, 0, handles[i], data, message) == 1;
    });
    step(table + " delete", count, [&](uint32_t i) { return remove(session, device, handles[i]) == 0; });
}

void hosts(uint32_t count) {
    p4_pd_velmar_switch_ipv4Host_match_spec_t key{};
    p4_pd_velmar_switch_setNextHop_action_spec_t hop{};
    entries(
        "exact", count,
        [&](uint32_t i, pd_entry* entry) {
            key.ingIpv4_dip = i;
            return PD(ipv4Host, table_add_with_setNextHop)(session, target, &key, &hop, entry);
        },
        [&](uint32_t i, pd_entry* entry) {
            key.ingIpv4_dip = i;
            return PD(ipv4Host, match_spec_to_entry_hdl)(session, target, &key, entry);
        },
        [&](pd_entry entry) {
            char action[61];
            uint8_t is_default;
            check(PD(ipv4Host, get_entry)(session, device, entry, 1, &key, action, &hop, nullptr, &is_default) == 0,
                  "reading");
            return key.ingIpv4_dip;
        },
        PD(ipv4Host, get_plcmt_data), PD(ipv4Host, plcmt_data_eq_to_hw), PD(ipv4Host, get_first_entry_handle),
        PD(ipv4Host, get_next_entry_handles), PD(ipv4Host, table_delete));
}

void traps(uint32_t count) {
    p4_pd_velmar_switch_trapToCpu_match_spec_t key{};
    p4_pd_velmar_switch_copyPacket_action_spec_t copy{};
    key.ingIpv4_dip_mask = 0xFFFFFFFF;
    entries(
        "masked", count,
        [&](uint32_t i, pd_entry* entry) {
            key.ingIpv4_dip = i;
            return PD(trapToCpu, table_add_with_copyPacket)(session, target, &key, i, &copy, entry);
        },
        [&](uint32_t i, pd_entry* entry) {
            key.ingIpv4_dip = i;
            return PD(trapToCpu, match_spec_to_entry_hdl)(session, target, &key, i, entry);
        },
        [&](pd_entry entry) {
            char action[61];
            uint32_t priority;
            uint8_t is_default;
            check(PD(trapToCpu, get_entry)(session, device, entry, 1, &key, &priority, action, &copy, nullptr,
                                           &is_default) == 0,
                  "reading");
            return key.ingIpv4_dip;
        },
        PD(trapToCpu, get_plcmt_data), PD(trapToCpu, plcmt_data_eq_to_hw), PD(trapToCpu, get_first_entry_handle),
        PD(trapToCpu, get_next_entry_handles), PD(trapToCpu, table_delete));
}

// As many groups as members, each of four. In the end one group takes all members.
void members_and_groups(uint32_t count) {
    std::vector<pd_member> members(count);
    std::vector<pd_group> groups(count);
    const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop{};
    step("members add", count,
         [&](uint32_t i) { return PATHS(add_member_with_setEcmpNextHop)(session, target, &hop, &members[i]) == 0; });
    step("groups add", count, [&](uint32_t i) { return PATHS(create_group)(session, target, 0, &groups[i]) == 0; });
    constexpr uint32_t group_size = 4;
    const auto join_groups = [&](const char* name, auto* function) {
        step(name, count * group_size, [&](uint32_t i) {
            const uint32_t member = (i / group_size + i % group_size) % count;
            return function(session, device, groups[i / group_size], members[member]) == 0;
        });
    };
    const auto join_one = [&](const char* name, auto* function) {
        step(name, count, [&](uint32_t i) { return function(session, device, groups[0], members[i]) == 0; });
    };
    join_groups("groups join", PATHS(add_member_to_group));
    step("members read", count, [&](uint32_t i) {
        p4_pd_velmar_switch_setEcmpNextHop_action_spec_t read;
        return PATHS(get_member)(session, device, members[i], 1, &read) == 0;
    });
    walk("members walk", members, PATHS(get_first_member), PATHS(get_next_members));
    walk("groups walk", groups, PATHS(get_first_group), PATHS(get_next_groups));

    char* log = nullptr;
    once("state log", count, [&] { return (log = vl_model_state_log(device)) != nullptr; });
    once("state drop", count, [&] { return vl_model_device_state_drop(device) == 0; });
    once("state restore", count, [&] { return vl_model_state_restore(device, log) == 0; });
    std::free(log);
    check(vl_model_device_state_drop(device) == 0, "dropping the state");
    once("state replay", count,
         [&] { return p4_pd_velmar_switch_restore_virtual_dev_state(device, session, 0, 0, 0) == 0; });

    join_groups("groups leave", PATHS(del_member_from_group));
    join_one("one group join", PATHS(add_member_to_group));
    pd_member page[64];
    step("one group walk", count - 1, [&](uint32_t i) {
        if (i == 0)
            check(PATHS(get_first_group_member)(session, device, groups[0], page) == 0 && page[0] == members[0],
                  "one group walk");
        return (i % 64 != 0 || PATHS(get_next_group_members)(session, device, groups[0], members[i], 64, page) == 0) &&
               page[i % 64] == members[i + 1];
    });
    join_one("one group leave", PATHS(del_member_from_group));
    step("groups delete", count, [&](uint32_t i) { return PATHS(del_group)(session, device, groups[i]) == 0; });
    step("members delete", count, [&](uint32_t i) { return PATHS(del_member)(session, device, members[i]) == 0; });
}

// A packet for each entry. The first packet indexes all. To compare, the entry is also found by its whole key.
void matching(uint32_t count) {
    const uint32_t driver_session = bench::start_matching();
    for (const bench::MatchTable* table : bench::match_tables) {
        const std::string name = table->name;
        for (uint32_t i = 0; i < count; ++i)
            table->add(driver_session, i);
        once(name + ": indexing", count, [&] { return table->look_up(table->entry(0)) != 0; });
        step(name + ": packet", count, [&](uint32_t i) { return table->look_up(table->entry(i)) != 0; });
        step(name + ": find by key", count, [&](uint32_t i) {
            bench::MatchTable::Key key = table->entry(i);
            return table->find(driver_session, key) != 0;
        });
    }
}

} // namespace

int main(int argc, char** argv) {
    const uint32_t count = argc == 2 ? static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10)) : 0;
    check(count >= 1000 && count <= VL_MODEL_DEFAULT_CAPACITY,
          "checking that the argument is a number of entries from 1000");
    p4_pd_velmar_switch_init();
    check(vl_model_device_add(device, &velmar_switch_pipeline) == 0 && vl_model_session_open(&session) == 0,
          "starting");
    hosts(count);
    traps(count);
    members_and_groups(count / 10);
    matching(count);
}
