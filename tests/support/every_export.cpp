// See every_export.h.
#include "support/every_export.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>

#include "vl_driver/idle.h"
#include "vl_model/testing.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace support {

namespace {

// Functions that make what others need, in the order in which it is needed.
constexpr const char* makers[] = {"_add_member_with_", "_create_group", "_add_member_to_group",
                                  "_set_default",      "_add_",         "_get_plcmt_data"};
constexpr int others = std::size(makers);

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
            if (each.has("_reset_") || each.has("_del")) each.turn = others + 1;
            all.push_back(std::move(each));
        }
        std::stable_sort(all.begin(), all.end(), [](const Export& a, const Export& b) { return a.turn < b.turn; });
        return all;
    }();
    return sorted;
}

ExportCalls::ExportCalls(uint8_t dirt, bool is_first)
    : dirt_(dirt),
      is_first_(is_first),
      prints_(std::tmpfile()),
      input_(1 << 12) {
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
        std::memcpy(&made_[export_->name], bytes->data(), sizeof(uint32_t));
        if (what == "blob" && !export_->has("_sel_")) std::memcpy(&blobs_[row], bytes->data(), 8);
    }
}

// A table, a profile, or a word that is neither. The profile's table also uses its members and groups.
std::string ExportCalls::row_of(const std::string& name) {
    const size_t begin = exported("").size();
    return name.size() < begin ? name : name.substr(begin, name.find('_', begin) - begin);
}

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
        words_.push_back(made_[row + (made_.contains(row + "mbr_hdl") ? "mbr_hdl" : "entry_hdl")]);
        words_.push_back(word(output("blob").data()));
    } else if (argument.find('*') != argument.npos) {
        words_.push_back(pointer(argument, what));
    } else if (is("pd_driver_callback")) {
        words_.push_back(0);
    } else if (is("pd_dev_tgt")) {
        words_.push_back(target_word);
    } else if (is("pd_counter_value") || is("pd_register_value")) {
        words_.insert(words_.end(), {1, 2});
    } else if (is("pd_pvs_target")) {
        words_.insert(words_.end(), {uint64_t{1} << 32 | device, above_8 << 32 | 1});
    } else if (is("pd_idle_params")) {
        words_.resize(6); // it goes by the stack
        words_.insert(words_.end(), {above_32 | PIPE_IDLE_MODE_NOTIFY, 1, above_32 | 2, 3, 4, above_8 | 1});
    } else {
        words_.push_back(is("uint64_t") ? 9999 : above_32 | integer(what));
    }
}

uint64_t ExportCalls::pointer(const std::string& argument, const std::string& what) {
    if (what == "cookie" || argument == "void *message") return 0;
    if (what == "plcmt_data") return blobs_[row_of(export_->name)];
    if (what == "match_record") return word(&match_);
    if (what == "action_data") return word(&data_);
    if (what == "query") return word(&query_);
    if (what == "widths") return word(&width_);
    return argument.starts_with("const") ? word(input_.data()) : word(output(what).data());
}

uint32_t ExportCalls::integer(const std::string& what) {
    if (what == "sess_hdl") return session_;
    if (what == "dev_id") return device;
    if (what == "fd") return static_cast<uint32_t>(fileno(prints_));
    if (what == "tbl_hdl") return table_named("ipv4Host").handle;
    if (what == "entry_hdl" || what == "mbr_hdl" || what == "grp_hdl") return made_[maker_of(what)];
    return 1;
}

Bytes& ExportCalls::output(const std::string& what) {
    outputs_.push_back({what, &output_buffers_.at(outputs_.size())});
    std::fill(outputs_.back().second->begin(), outputs_.back().second->end(), 0xEE);
    return *outputs_.back().second;
}

} // namespace support
