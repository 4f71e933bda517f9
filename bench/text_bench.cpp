// The cost of texts, compared with the plain way: a formatted write for each field, and for schemas a copy of as many
// bytes. Both arms of an entry's value string read the entry from the null driver with the library's own function.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "measured_tables.h"
#include "medians.h"
#include "pd_velmar/columns.h"

namespace bench {
namespace {

using vl_pd::Column;
using vl_pd::columns;

constexpr size_t buffer_size = 4096;

int dev_null() {
    static const int fd = open("/dev/null", O_WRONLY);
    return fd;
}

// The plain way. The bytes of a wide value go to one formatted write.
#define VL_WIDE_FORMAT "%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X%02X"
#define VL_WIDE_BYTES(from)                                                                                            \
    (from)[0], (from)[1], (from)[2], (from)[3], (from)[4], (from)[5], (from)[6], (from)[7], (from)[8], (from)[9],      \
        (from)[10], (from)[11], (from)[12], (from)[13], (from)[14], (from)[15]

template <catalog::TableRef T>
char* plain_match_value(char* out, const void* record) {
    out += std::sprintf(out, "( ");
    for (const Column& column : columns<T>) {
        const auto* const from = static_cast<const uint8_t*>(record) + column.record_offset;
        if (column.wide()) {
            out += std::snprintf(out, 64, "0x" VL_WIDE_FORMAT ",", VL_WIDE_BYTES(from));
        } else {
            const uint32_t value = vl_pd::load_word(static_cast<const uint8_t*>(record), column);
            out += std::snprintf(out, 64, "0x%0*x,", static_cast<int>(column.digits), value & column.word_mask());
        }
    }
    return out + std::snprintf(out, 64, "),");
}

char* plain_action_value(char* out, const p4_pd_velmar_switch_setNextHop_action_spec_t& spec) {
    return out + std::snprintf(out, 128, "('setNextHop',(0x%08x,)),", static_cast<unsigned>(spec.action_nextHop));
}

char* plain_action_value(char* out, const p4_pd_velmar_switch_copyPacket_action_spec_t& spec) {
    out += std::snprintf(out, 64, "('copyPacket',(");
    out += std::snprintf(out, 64, "0x%02x,", static_cast<unsigned>(spec.action_cpuReasonCode));
    out += std::snprintf(out, 64, "0x%01x,", spec.action_llm & 1U);
    return out + std::snprintf(out, 64, ")),");
}

template <class Table, catalog::TableRef T>
int plain_entry_value(size_t i, char* buffer) {
    null_driver_answer = &answers<Table>()[i].driver;
    Outputs<Table> read{};
    if (call_read<Table>(Table::library.read, read, false) != 0) return 0;
    char* out = buffer + std::sprintf(buffer, "((");
    out = plain_match_value<T>(out, &read.match_spec);
    typename Table::ActionSpec spec;
    std::memcpy(&spec, read.action_spec, sizeof spec);
    out = plain_action_value(out, spec);
    out += std::snprintf(out, 64, "),(%d,True))", static_cast<int>(read.priority));
    return static_cast<int>(out - buffer);
}

// The cases. Both arms return the length of the text.

template <class Table>
const std::array<typename Table::MatchSpec, ring_size>& records() {
    static const auto ring = [] {
        Random random;
        std::array<typename Table::MatchSpec, ring_size> made;
        for (auto& record : made)
            fill(random, &record, sizeof record);
        return made;
    }();
    return ring;
}

int library_match_value(size_t i, char* buffer) {
    return p4_pd_velmar_switch_trapToCpu_match_spec_value(&records<TrapToCpu>()[i], buffer);
}

int plain_trap_match_value(size_t i, char* buffer) {
    return static_cast<int>(plain_match_value<catalog::table("trapToCpu")>(buffer, &records<TrapToCpu>()[i]) - buffer);
}

template <class Table, auto* value>
int library_entry_value(size_t i, char* buffer) {
    null_driver_answer = &answers<Table>()[i].driver;
    return value(session, target.dev_id, 1, 0, buffer);
}

int library_schema(size_t, char* buffer) {
    return p4_pd_velmar_switch_finalDropControl_schema(buffer);
}

int plain_schema(size_t, char* buffer) {
    static const std::string schema = [] {
        char text[buffer_size];
        const int length = p4_pd_velmar_switch_finalDropControl_schema(text);
        return std::string(text, static_cast<size_t>(length));
    }();
    std::memcpy(buffer, schema.data(), schema.size() + 1);
    return static_cast<int>(schema.size());
}

int library_print(size_t i, char* buffer) {
    *buffer = 0;
    return p4_pd_velmar_switch_trapToCpu_match_spec_print(dev_null(), 2, &records<TrapToCpu>()[i]);
}

// All lines in one buffer and one write: what printing would cost without a write for each line.
int plain_print(size_t i, char* buffer) {
    const auto* const record = reinterpret_cast<const uint8_t*>(&records<TrapToCpu>()[i]);
    char* out = buffer + std::sprintf(buffer, "%*sp4_pd_velmar_switch_trapToCpu_match_spec_t:\n", 2, "");
    int last = 0;
    for (const Column& column : columns<catalog::table("trapToCpu")>) {
        const uint8_t* const from = record + column.record_offset;
        if (column.wide())
            last = std::snprintf(out, 128, "%*c %s%s: 0x" VL_WIDE_FORMAT "\n", 2, ' ', column.pd_name, column.pd_suffix,
                                 VL_WIDE_BYTES(from));
        else
            last =
                std::snprintf(out, 128, "%*c %s%s: 0x%0*x\n", 2, ' ', column.pd_name, column.pd_suffix,
                              static_cast<int>(column.digits), vl_pd::load_word(record, column) & column.word_mask());
        out += last;
    }
    const ssize_t written = write(dev_null(), buffer, static_cast<size_t>(out - buffer));
    *buffer = 0;
    return written < 0 ? -1 : last;
}

using Arm = int(size_t i, char* buffer);

struct Case {
    const char* name;
    Arm* library;
    Arm* plain;
    const char* plain_name;
};

constexpr Case cases[] = {
    {"trapToCpu match value", library_match_value, plain_trap_match_value, "snprintf"},
    {"trapToCpu entry value", library_entry_value<TrapToCpu, p4_pd_velmar_switch_trapToCpu_value>,
     plain_entry_value<TrapToCpu, catalog::table("trapToCpu")>, "snprintf"},
    {"ipv4Host entry value", library_entry_value<Ipv4Host, p4_pd_velmar_switch_ipv4Host_value>,
     plain_entry_value<Ipv4Host, catalog::table("ipv4Host")>, "snprintf"},
    {"trapToCpu print", library_print, plain_print, "snprintf, one write"},
    {"finalDropControl schema", library_schema, plain_schema, "memcpy"},
};

bool both_arms_agree() {
    for (const Case& each : cases)
        for (size_t i = 0; i < ring_size; ++i) {
            char library[buffer_size];
            char plain[buffer_size];
            const int length = each.library(i, library);
            if (length == each.plain(i, plain) && length > 0 && std::strncmp(library, plain, sizeof library) == 0)
                continue;
            plain[buffer_size - 1] = 0;
            std::fprintf(stderr, "%s: the arms differ:\n%s\n%s\n", each.name, library, plain);
            return false;
        }
    return true;
}

[[gnu::noinline]] void measure(benchmark::State& state, Arm* arm) {
    char buffer[buffer_size];
    go_round(state, [&](size_t i) {
        const int length = arm(i, buffer);
        benchmark::ClobberMemory();
        return length;
    });
}

std::string benchmark_name(const Case& each, const char* arm) {
    return std::string(each.name) + "/" + arm;
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (!both_arms_agree() || !initialize(argc, argv)) return 1;
    for (const Case& each : cases) {
        benchmark::RegisterBenchmark(benchmark_name(each, "library").c_str(), measure, each.library);
        benchmark::RegisterBenchmark(benchmark_name(each, "plain").c_str(), measure, each.plain);
    }
    const Medians medians = run();
    print_header("plain", "library", "times");
    for (const Case& each : cases)
        print_ratio(medians, each.name, benchmark_name(each, "plain"), benchmark_name(each, "library"),
                    each.plain_name);
    benchmark::Shutdown();
}
