// See mistakes.h.
#include "watch/mistakes.h"

#include <algorithm>

#include "watch/agent_code.h"
#include "watch/report.h"

namespace pd_watch {
namespace {

// An agent can make one mistake a million times. After so many looks at the stack it only counts.
constexpr uint64_t most_looks = 100;
constexpr size_t most_values = 10; // of one sort at one place

void put_text(std::string& out, const char* name, std::string_view text) {
    if (text.empty()) return;
    if (out.back() != '{') out += ',';
    out.append("\"").append(name).append("\":\"");
    for (const char each : text) {
        if (each == '"' || each == '\\') out += '\\';
        out += static_cast<unsigned char>(each) < 0x20 ? ' ' : each;
    }
    out += '"';
}

void put_member(std::string& out, const char* name, uint64_t number) {
    out.append(",\"").append(name).append("\":").append(std::to_string(number));
}

// A place in a table, in words.
std::string place_of(const Finding& finding) {
    std::string place = finding.table != nullptr ? finding.table->name : "";
    const auto add = [&](const char* what, const std::string& name) {
        if (name.empty()) return;
        if (!place.empty()) place += ", ";
        place.append(what).append(name);
    };
    if (finding.action != nullptr) add("action ", finding.action);
    add(finding.action != nullptr ? "parameter " : "field ", finding.field);
    return place;
}

} // namespace

Teller::Teller(bool as_json, const std::vector<std::string>& kinds_off, std::vector<std::string> tables)
    : as_json_(as_json),
      tables_(std::move(tables)) {
    for (const MistakeRow& row : mistake_rows)
        off_[static_cast<size_t>(row.kind)] = std::ranges::find(kinds_off, row.name) != kinds_off.end();
}

bool Teller::is_wanted(const Table* table) const {
    return tables_.empty() || (table != nullptr && std::ranges::find(tables_, table->name) != tables_.end());
}

bool Teller::is_enough(Sort& sort) {
    if (++sort.seen <= most_looks) return false;
    if (sort.last < told_.size()) ++told_[sort.last].count;
    return true;
}

void Teller::tell(const Finding& finding, const Call* call, uint32_t thread, const void* code) {
    if (!tells(finding.kind) || !is_wanted(finding.table)) return;
    const char* const kind = row_of(finding.kind).name;
    const std::string name =
        std::string(kind) + "\n" + place_of(finding) + "\n" + (call != nullptr ? call->function->name : finding.value);
    Sort* sort = nullptr;
    {
        const std::lock_guard lock(mutex_);
        ++mistakes_;
        sort = &sorts_[name];
        if (is_enough(*sort)) return;
        sort->name = name;
    }
    tell(kind, finding, call, thread, code, *sort);
}

void Teller::tell_refusal(const Call& call, uint32_t thread, const Table* table) {
    if (!is_wanted(table)) return;
    const uint64_t key = (uint64_t{table != nullptr ? table->handle : 0} << 32 | call.status) ^
                         static_cast<uint64_t>(call.function - functions) << 24;
    Sort* sort = nullptr;
    {
        const std::lock_guard lock(mutex_);
        ++refusals_;
        sort = &refused_[key];
        if (is_enough(*sort)) return;
        sort->name = "refused\n" + std::to_string(key);
    }
    const Finding refusal = {.kind = {}, .table = table, .what = "status " + std::to_string(call.status)};
    tell("refused", refusal, &call, thread, nullptr, *sort);
}

void Teller::tell(const char* kind, const Finding& finding, const Call* call, uint32_t thread, const void* code,
                  Sort& sort) {
    const bool is_refusal = std::string_view(kind) == "refused";
    const std::string place = place_of(finding);
    const char* const function = call != nullptr ? call->function->name : "";
    if (code == nullptr && call != nullptr) code = agent_code();
    const std::string code_text = code != nullptr ? code_name(code) : "";

    Told told{.kind = kind};
    told.text = place + (place.empty() ? "" : ": ") + finding.what;
    if (!finding.value.empty()) told.text += ": " + finding.value;
    std::string where = function;
    const auto add = [&](const std::string& more) { where += (where.empty() ? "" : ", ") + more; };
    if (call != nullptr) add("thread " + std::to_string(thread));
    if (!code_text.empty()) add(code_text);
    if (!where.empty()) told.text += " (" + where + ")";
    if (as_json_) {
        told.json = "{";
        put_text(told.json, "event", is_refusal ? "refused" : "mistake");
        if (!is_refusal) put_text(told.json, "kind", kind);
        put_text(told.json, "function", function);
        if (finding.table != nullptr) put_text(told.json, "table", finding.table->name);
        if (finding.action != nullptr) put_text(told.json, "action", finding.action);
        put_text(told.json, "field", finding.field);
        put_text(told.json, "what", finding.what);
        put_text(told.json, "value", finding.value);
        if (call != nullptr) {
            put_member(told.json, "status", call->status);
            put_member(told.json, "thread", thread);
        }
        put_text(told.json, "code", code_text);
    }
    const std::lock_guard lock(mutex_);
    // Other values, or another thread, are told too, until there are enough of them.
    std::vector<size_t>& here = places_[sort.name + "\n" + code_text];
    auto same =
        std::ranges::find(here, told.text, [&](size_t number) -> const std::string& { return told_[number].text; });
    if (same == here.end() && here.size() < most_values) {
        same = here.insert(here.end(), told_.size());
        told_.push_back(std::move(told));
        write(told_.back(), 1);
    }
    sort.last = same == here.end() ? here.back() : *same;
    ++told_[sort.last].count;
}

void Teller::write(const Told& told, uint64_t count) const {
    std::string line = "pd-watch: " + told.kind + ": " + told.text +
                       (count > 1 ? ", and " + std::to_string(count - 1) + " more like this" : "") + "\n";
    if (as_json_) {
        line = told.json;
        if (count > 1) put_member(line, "count", count);
        line += "}\n";
    }
    report(line);
}

void Teller::finish(uint64_t calls) {
    const std::lock_guard lock(mutex_);
    for (const Told& told : told_)
        if (told.count > 1) write(told, told.count);
    std::string line;
    if (as_json_) {
        line = "{\"event\":\"end\"";
        put_member(line, "calls", calls);
        put_member(line, "mistakes", mistakes_);
        put_member(line, "refused", refusals_);
        line += "}\n";
    } else {
        const auto counted = [](uint64_t count, const char* one) {
            return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
        };
        line = "pd-watch: " + counted(calls, "call") + " checked: " + counted(mistakes_, "mistake") + ", " +
               counted(refusals_, "other refusal") + "\n";
    }
    report(line);
}

} // namespace pd_watch
