// See every_export.h.
#include "support/every_export.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>

#include "vl_driver/digests.h"
#include "vl_driver/idle.h"
#include "vl_model/testing.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace support {

namespace {

// Functions that make what others need, in order.
constexpr const char* makers[] = {
    "_add_member_with_", "_create_group",    "_add_member_to_group", "_set_default",   "_add_",
    "_entry_add",        "_snapshot_create", "_idle_tmo_enable",     "_get_plcmt_data"};
constexpr int others = std::size(makers);

// Before a function whose name contains `part`, other functions run. Their names begin like its name, and go on with
// one of `first` instead of `part`. They may fail. Only the first row that fits counts.
struct Need {
    const char* part;
    std::array<const char*, 3> first;
};
constexpr Need needs[] = {
    {"_table_add_with_", {"_table_delete_by_match_spec"}},
    {"_add_entry", {"_table_delete_by_match_spec"}},
    {"_table_delete", {"_table_add_with_", "_add_entry"}},
    {"_add_member_to_group", {"_create_group"}},
    {"_del_member_from_group", {"_add_member_with_", "_create_group", "_add_member_to_group"}},
    {"_del_group", {"_add_member_with_", "_create_group", "_add_member_to_group"}},
    {"_del_member", {"_add_member_with_"}},
    {"_entry_delete", {"_entry_add"}},
    {"_snapshot_delete", {"_snapshot_create"}},
    {"_deregister", {"_register"}},
};

// Never called, because there is no traffic.
pipe_status no_digest(pipe_sess_hdl, pipe_digest_msg*, void*) {
    return 0;
}

template <class Items>
void append(std::string& text, const Items& items) {
    text.append(reinterpret_cast<const char*>(std::data(items)), std::size(items) * sizeof(*std::data(items)));
    text += '|';
}

const catalog::Profile& first_profile() {
    return catalog::program.profiles[0];
}

// The handle of the first resource whose cells have an index.
template <class Rows>
uint32_t first_indirect(const Rows& rows) {
    for (const auto& row : rows)
        if (row.addressing == catalog::Addressing::indirect) return row.handle;
    return 0;
}

} // namespace

const std::vector<Export>& every_export() {
    static const std::vector<Export> sorted = [] {
        std::vector<Export> all;
        std::ifstream list(EXPORTS_LIST);
        for (std::string name, signature; std::getline(list, name, '\t') && std::getline(list, signature);) {
            const size_t open = signature.find('(');
            if (open == signature.npos || name.ends_with("_init") || name.ends_with("_cleanup")) continue;
            Export each{.name = name,
                        .result = signature.substr(0, signature.find_last_not_of(' ', open - 1) + 1),
                        .arguments = {}};
            std::istringstream arguments(signature.substr(open + 1, signature.size() - open - 2));
            for (std::string argument; std::getline(arguments >> std::ws, argument, ',');)
                if (argument != "void") each.arguments.push_back(argument);
            while (each.turn < others && !each.has(makers[each.turn]))
                ++each.turn;
            if (each.turn == others)
                each.turn += (each.has("_modify_") ? 1 : 0) + (each.has("_reset_") || each.has("_del") ? 2 : 0);
            all.push_back(std::move(each));
        }
        std::stable_sort(all.begin(), all.end(), [](const Export& a, const Export& b) { return a.turn < b.turn; });
        return all;
    }();
    return sorted;
}

ExportCalls::ExportCalls(uint8_t dirt, bool is_first) : dirt_(dirt), is_first_(is_first), prints_(std::tmpfile()) {
    output_buffers_.fill(Bytes(1 << 14));
    for (size_t i = 0; i < input_.size(); i += 2)
        input_[i] = 1; // a value that is valid in fields of any width
    match_ = {input_.data(), input_.data(), 1, 1, 0, 64, 0};
    data_ = {0, 0, 0, input_.data()};
    query_ = {.count = 4, .reserved = 0, .elements = elements_.data()};
    if (is_first) {
        vl_model_reset();
        vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
        p4_pd_velmar_switch_init();
        EXPECT_EQ(vl_model_device_add(device, &velmar_switch_pipeline), 0u);
    }
    while (session_ < 100) // a number that no other argument has
        EXPECT_EQ(vl_model_session_open(&session_), 0u);
}

ExportCalls::~ExportCalls() {
    if (is_first_) {
        EXPECT_EQ(vl_model::live_allocations(), 0u);
    }
    std::fclose(prints_);
}

void ExportCalls::prepare(const Export& next) {
    handles_.clear();
    const auto* const need =
        std::find_if(std::begin(needs), std::end(needs), [&](const Need& each) { return next.has(each.part); });
    if (need != std::end(needs))
        for (const char* const first : need->first)
            if (first != nullptr) run_first(next.name.substr(0, next.name.find(need->part)) + first);
    set_up(next);
}

void ExportCalls::run_first(const std::string& beginning) {
    static const std::map<std::string, const Export*> by_name = [] {
        std::map<std::string, const Export*> all;
        for (const Export& each : every_export())
            all[each.name] = &each;
        return all;
    }();
    const auto found = by_name.lower_bound(beginning);
    if (found == by_name.end() || !found->first.starts_with(beginning)) return;
    set_up(*found->second);
    if (run() == 0) keep();
}

void ExportCalls::set_up(const Export& next) {
    export_ = &next;
    words_.clear();
    outputs_.clear();
    for (const std::string& argument : next.arguments)
        add_words(argument);
}

uint64_t ExportCalls::run() {
    EXPECT_EQ(ftruncate(fileno(prints_), 0), 0);
    std::rewind(prints_);
    const uint64_t result = call_for_word(export_->name, words_);
    if (export_->result.ends_with("*")) return result;
    return export_->result.starts_with("void") ? 0 : static_cast<uint32_t>(result);
}

std::string ExportCalls::printed() const {
    std::string text(static_cast<size_t>(lseek(fileno(prints_), 0, SEEK_CUR)), 0);
    EXPECT_EQ(pread(fileno(prints_), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

void ExportCalls::keep() {
    if (export_->turn >= others) return;
    const std::string row = row_of(export_->name);
    for (const auto& [what, bytes] : outputs_) {
        std::memcpy(&made_[row + what], bytes->data(), sizeof(uint32_t));
        handles_.push_back(made_[row + what]);
        std::memcpy(&made_[export_->name], bytes->data(), sizeof(uint32_t));
        if (what == "blob" && !export_->has("_sel_")) std::memcpy(&blobs_[row], bytes->data(), 8);
    }
}

std::string ExportCalls::sent(const vl_model::Call& call, const std::vector<uint32_t>& handles) const {
    const auto blob = blobs_.find(row());
    const auto is_given = [&](uint64_t n) {
        const bool is_address = n >> 32 != 0 && n >> 47 == 0, is_blob = blob != blobs_.end() && n == blob->second;
        return is_address || is_blob || n == session_ || std::count(handles.begin(), handles.end(), n) != 0;
    };
    std::string text = call.function + call.text;
    std::vector<uint64_t> numbers = call.args;
    numbers.insert(numbers.end(), call.handles.begin(), call.handles.end());
    std::replace_if(numbers.begin(), numbers.end(), is_given, 0);
    if (call.match) {
        append(text, call.match->key);
        append(text, call.match->mask);
        numbers.insert(numbers.end(), {call.match->partition_index, call.match->priority, call.match->key_bits,
                                       call.match->key_len, call.match->reserved});
    }
    if (call.action) {
        append(text, call.action->data);
        append(text, call.action->slots);
        append(text, call.action->reserved);
        numbers.insert(numbers.end(),
                       {call.action->kind, call.action->resource_count, call.action->data_bits, call.action->data_len,
                        call.action->data_null, call.action->member_hdl, call.action->group_hdl});
    }
    append(text, numbers);
    append(text, call.bytes);
    for (Bytes input : call.inputs) {
        if (call.function.starts_with("pipe_stful_") && call.function.find("query") != call.function.npos)
            for (size_t i = offsetof(pipe_stful_query, elements); i < input.size(); i += sizeof(pipe_stful_query))
                std::fill_n(input.begin() + static_cast<ptrdiff_t>(i), sizeof(void*), 0);
        append(text, input);
    }
    return text;
}

// The row whose handles a function takes: its table, profile or value set. Functions that work on any table or profile
// get the handles of one of them.
std::string ExportCalls::row_of(const std::string& name) {
    static const std::map<std::string, std::string> rows = [] {
        std::map<std::string, std::string> all;
        for (const catalog::Table* table : all_tables())
            all[table->name] = table->name;
        for (const catalog::Profile& profile : catalog::program.profiles)
            all[profile.name] = profile.name;
        for (const auto* const resources : {&catalog::program.counters, &catalog::program.meters})
            for (const catalog::Resource& resource : *resources)
                if (resource.addressing == catalog::Addressing::direct) all[resource.name] = resource.table;
        return all;
    }();
    const std::string rest = name.substr(std::min(name.size(), exported("").size()));
    if (rest.starts_with("pvs_")) return rest.substr(0, rest.find("_entry_"));
    if (rest.starts_with("adt_") || rest.starts_with("member_hdl_")) return first_profile().name;
    for (const std::string& word : {rest.substr(0, rest.find('_')), rest.substr(rest.rfind('_') + 1)})
        if (const auto found = rows.find(word); found != rows.end()) return found->second;
    return "ipv4Host";
}

// A table takes the members and groups of its profile.
std::string ExportCalls::maker_of(const std::string& what) const {
    if (export_->has("_modify_member_with_"))
        return std::string(export_->name).replace(export_->name.find("_modify_"), 8, "_add_");
    const std::string row = row_of(export_->name);
    for (const catalog::Profile& profile : catalog::program.profiles)
        if (row == profile.table && what != "entry_hdl") return profile.name + what;
    return row + what;
}

void ExportCalls::add_words(const std::string& argument) {
    const uint64_t above_32 = uint64_t{0x0101010101010101} * dirt_ << 32, above_8 = above_32 >> 24;
    const std::string what = argument.substr(argument.find_last_of("* ") + 1);
    const auto is = [&](const char* type) { return argument.starts_with(type); };
    if (argument == "...") {
        const std::string row = row_of(export_->name);
        const bool of_profile = made_.contains(row + "mbr_hdl");
        words_.push_back(made_[row + (export_->has("_sel_") ? "grp_hdl" : of_profile ? "mbr_hdl" : "entry_hdl")]);
        words_.push_back(word(output("blob").data()));
    } else if (argument.find('*') != argument.npos) {
        words_.push_back(pointer(argument, what));
    } else if (is("pd_driver_callback")) {
        words_.push_back(export_->has("Digest_register") ? word(&no_digest) : 0);
    } else if (is("pd_dev_tgt")) {
        words_.push_back(export_->has("_snapshot_") ? uint64_t{1} << 32 | device : target_word);
    } else if (is("pd_counter_value") || is("pd_register_value")) {
        words_.insert(words_.end(), {1, 2});
    } else if (is("pd_pvs_target")) {
        words_.insert(words_.end(), {uint64_t{1} << 32 | device, above_8 << 32 | 1});
    } else if (is("pd_idle_params")) {
        words_.resize(6); // it goes by the stack
        words_.insert(words_.end(), {above_32 | PIPE_IDLE_MODE_NOTIFY, 1, above_32 | 2, 3, 4, above_8 | 1});
    } else {
        words_.push_back((is("uint64_t") ? 0 : above_32) | integer(what));
    }
}

uint64_t ExportCalls::pointer(const std::string& argument, const std::string& what) {
    if (what == "cookie" || argument == "void *message") return 0;
    if (what == "plcmt_data") return blobs_[row_of(export_->name)];
    if (what == "match_record") return word(&match_);
    if (what == "action_data") return word(&data_);
    if (what == "query") return word(&query_);
    if (what == "widths") return word(&width_);
    if (what == "meter_spec" && argument.starts_with("const")) return word(&meter_);
    return argument.starts_with("const") ? word(input_.data()) : word(output(what).data());
}

uint32_t ExportCalls::integer(const std::string& what) {
    if (what == "sess_hdl" || what == "a2") return session_;
    if (what == "dev_id" || what == "a1") return device;
    if (what == "fd") return static_cast<uint32_t>(fileno(prints_));
    if (what == "tbl_hdl") return table_named("ipv4Host").handle;
    if (what == "adt_hdl") return first_profile().data_table;
    if (what == "reg_hdl") return catalog::program.registers[0].handle;
    if (what == "meter_hdl") return first_indirect(catalog::program.meters);
    if (what == "wred_hdl") return first_indirect(catalog::program.wred_blocks);
    if (what == "entry_hdl" || what == "mbr_hdl" || what == "grp_hdl" || what == "snapshot_hdl") {
        handles_.push_back(made_[maker_of(what)]);
        return handles_.back();
    }
    if (what == "count" || what == "n") return count_;
    if (what == "read_from_hw") return read_from_hw_;
    if (what == "word" || what == "input" || what == "algorithm") return 0; // the first, and the only ones
    return 1;
}

Bytes& ExportCalls::output(const std::string& what) {
    outputs_.push_back({what, &output_buffers_.at(outputs_.size())});
    std::fill(outputs_.back().second->begin(), outputs_.back().second->end(), 0xEE);
    return *outputs_.back().second;
}

} // namespace support
