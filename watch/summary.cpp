// See summary.h.
#include "watch/summary.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <vector>

#include <unistd.h>

#include "watch/line.h"
#include "watch/report.h"
#include "watch/view.h"

namespace pd_watch {
namespace {

constexpr unsigned bucket_bits = 3; // below the highest bit of a time

size_t bucket_of(uint64_t time) {
    const auto high = static_cast<unsigned>(std::bit_width(time));
    if (high <= bucket_bits) return time;
    return size_t{high - bucket_bits} << bucket_bits | (time >> (high - bucket_bits - 1) & ((1u << bucket_bits) - 1));
}

// The middle of a bucket.
uint64_t time_of(size_t bucket) {
    if (bucket < size_t{1} << bucket_bits) return bucket;
    const unsigned shift = static_cast<unsigned>(bucket >> bucket_bits) - 1;
    const uint64_t low = (bucket & ((1u << bucket_bits) - 1)) | 1u << bucket_bits;
    return (low << shift) + ((uint64_t{1} << shift) >> 1);
}

std::string with_unit(uint64_t nanoseconds) {
    char text[32];
    if (nanoseconds < 1000)
        snprintf(text, sizeof text, "%u ns", static_cast<unsigned>(nanoseconds));
    else if (nanoseconds < 1'000'000)
        snprintf(text, sizeof text, "%.1f us", static_cast<double>(nanoseconds) / 1e3);
    else
        snprintf(text, sizeof text, "%.1f ms", static_cast<double>(nanoseconds) / 1e6);
    return text;
}

// 1 for a call that makes an entry, member or group, -1 for one that deletes it.
int change_of(const Call& call) {
    switch (plan_of(call).deed) {
    case Deed::add_entry:
    case Deed::add_member:
    case Deed::add_group:
        return 1;
    case Deed::delete_entry:
    case Deed::delete_entry_by_key:
    case Deed::delete_member:
    case Deed::delete_group:
        return -1;
    default:
        return 0;
    }
}

const char* things(Thing thing, bool one = false) {
    if (thing == Thing::data_table) return one ? "member" : "members";
    if (thing == Thing::selector) return one ? "group" : "groups";
    return one ? "entry" : "entries";
}

} // namespace

void Times::add(uint64_t nanoseconds) {
    ++buckets_[std::min(bucket_of(nanoseconds), buckets_.size() - 1)];
    ++count_;
}

uint64_t Times::quantile(double share) const {
    const auto wanted = static_cast<uint64_t>(share * static_cast<double>(count_));
    uint64_t seen = 0;
    size_t bucket = 0;
    while (bucket + 1 < buckets_.size() && (seen += buckets_[bucket]) <= wanted)
        ++bucket;
    return time_of(bucket);
}

Summary::Summary(const Pipeline& pipeline, bool as_json) : pipeline_(pipeline), as_json_(as_json), began_(now()) {}

void Summary::ended(const Call& call, uint32_t) {
    const Function& function = *call.function;
    const size_t position = position_of(function, Kind::table);
    const Table* const table =
        position == function.count ? nullptr : pipeline_.table(static_cast<uint32_t>(call.words[position]));
    const std::lock_guard lock(mutex_);
    Counts& counts = counts_[{&function, table}];
    ++counts.calls;
    ++calls_;
    counts.times.add(call.end - call.begin);
    if (call.status != 0) ++counts.refusals[call.status];
    if (table == nullptr || call.status != 0) return;
    if (const int change = change_of(call); change != 0) alive_[table] += change;
}

void Summary::tell_now() {
    std::string lines;
    {
        const std::lock_guard lock(mutex_);
        lines = as_json_ ? json() : text();
    }
    report(lines);
}

std::string Summary::text() const {
    char line[256];
    snprintf(line, sizeof line, "pd-watch: %llu calls of the driver by process %d in %.3f s\n",
             static_cast<unsigned long long>(calls_), static_cast<int>(getpid()),
             static_cast<double>(now() - began_) / 1e9);
    std::string out = line;
    snprintf(line, sizeof line, "  %-48s %-24s %10s %10s %10s  %s\n", "function", "table", "calls", "median", "99 %",
             "refusals");
    out += line;
    std::vector<const std::pair<const Row, Counts>*> rows;
    for (const auto& row : counts_)
        rows.push_back(&row);
    std::ranges::stable_sort(
        rows, [](const auto* left, const auto* right) { return left->second.calls > right->second.calls; });
    for (const auto* const row : rows) {
        const auto& [what, counts] = *row;
        snprintf(line, sizeof line, "  %-48s %-24s %10llu %10s %10s", what.first->name,
                 what.second == nullptr ? "" : what.second->name, static_cast<unsigned long long>(counts.calls),
                 with_unit(counts.times.quantile(0.5)).c_str(), with_unit(counts.times.quantile(0.99)).c_str());
        out += line;
        const char* separator = "  ";
        for (const auto& [status, count] : counts.refusals) {
            snprintf(line, sizeof line, "%s%llu with status %u", separator, static_cast<unsigned long long>(count),
                     status);
            out += line;
            separator = ", ";
        }
        out += "\n";
    }
    const char* separator = "  alive: ";
    for (const auto& [table, count] : alive_) {
        if (count == 0) continue;
        snprintf(line, sizeof line, "%s%lld %s of %s", separator, static_cast<long long>(count),
                 things(table->thing, count == 1), table->name);
        out += line;
        separator = ", ";
    }
    return out + (*separator == ',' ? "\n" : "");
}

std::string Summary::json() const {
    std::string out = "{\"summary\":{\"pid\":" + std::to_string(getpid()) + ",\"calls\":" + std::to_string(calls_) +
                      ",\"duration_ns\":" + std::to_string(now() - began_) + ",\"functions\":[";
    for (const auto& [what, counts] : counts_) {
        if (out.back() != '[') out += ",";
        out += std::string("{\"function\":\"") + what.first->name + "\",\"table\":";
        out += what.second == nullptr ? "null"
                                      : std::string("\"") + what.second->name +
                                            "\",\"table_handle\":" + std::to_string(what.second->handle);
        out += ",\"calls\":" + std::to_string(counts.calls) +
               ",\"median_ns\":" + std::to_string(counts.times.quantile(0.5)) +
               ",\"p99_ns\":" + std::to_string(counts.times.quantile(0.99)) + ",\"refusals\":{";
        for (const auto& [status, count] : counts.refusals) {
            if (out.back() != '{') out += ",";
            out += "\"" + std::to_string(status) + "\":" + std::to_string(count);
        }
        out += "}}";
    }
    out += "],\"alive\":[";
    for (const auto& [table, count] : alive_) {
        if (count == 0) continue;
        if (out.back() != '[') out += ",";
        out += std::string("{\"what\":\"") + things(table->thing) + "\",\"of\":\"" + table->name +
               "\",\"count\":" + std::to_string(count) + "}";
    }
    return out + "]}}\n";
}

} // namespace pd_watch
