// What the library sends and writes must not depend on what was on its stack. All exported functions are called twice
// from the same start, on stacks full of two different bytes. The driver must get the same records, reserved bytes
// included, and outputs and results must be the same.
#include "support/library.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>

#include "vl_driver/idle.h"
#include "vl_driver/registers.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace {

using namespace support;

struct Export {
    std::string name, result;
    std::vector<std::string> arguments;
    int turn = 0;

    bool has(const char* part) const {
        return name.find(part) != name.npos;
    }
};

// Functions that make what others need, in the order in which it is needed.
constexpr const char* makers[] = {"_add_member_with_", "_create_group", "_add_member_to_group",
                                  "_set_default",      "_add_",         "_get_plcmt_data"};
constexpr int others = std::size(makers);

// In an order in which every function finds what it needs.
std::vector<Export> exports() {
    std::vector<Export> all;
    std::ifstream list(EXPORTS_LIST);
    for (std::string name, signature; std::getline(list, name, '\t') && std::getline(list, signature);) {
        const size_t open = signature.find('(');
        if (open == signature.npos || name.ends_with("_init") || name.ends_with("_cleanup")) continue;
        Export each{.name = name, .result = signature.substr(0, open), .arguments = {}};
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
}

[[gnu::noinline]] void fill_stack(uint8_t byte) {
    uint8_t room[1 << 16];
    std::memset(room, byte, sizeof room);
    asm volatile("" ::"r"(room) : "memory");
}

template <class Items>
void append(std::string& text, const Items& items) {
    text.append(reinterpret_cast<const char*>(std::data(items)), std::size(items) * sizeof(*std::data(items)));
    text += '|';
}

// Leaves out `given`, the session or placement data, which the driver never gives twice.
void append(std::string& text, const vl_model::Call& call, uint64_t given) {
    text += call.function + call.text;
    std::vector<uint64_t> numbers = call.args;
    if (!numbers.empty() && numbers[0] == given) numbers[0] = 0;
    std::erase_if(numbers, [](uint64_t n) { return n >> 32 != 0 && n >> 47 == 0; }); // addresses
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
    append(text, call.handles);
    append(text, call.bytes);
    for (Bytes input : call.inputs) {
        if (call.function.starts_with("pipe_stful_") && call.function.find("query") != call.function.npos)
            for (size_t i = offsetof(pipe_stful_query, elements); i < input.size(); i += sizeof(pipe_stful_query))
                std::fill_n(input.begin() + static_cast<ptrdiff_t>(i), sizeof(void*), 0);
        append(text, input);
    }
}

// All functions, called on a stack that is full of one byte. The unused bits of arguments have that byte too.
class Sweep {
public:
    std::vector<std::string> seen;
    std::map<std::string, uint32_t> results;

    Sweep(const std::vector<Export>& all, uint8_t byte) : byte_(byte) {
        for (size_t i = 0; i < input_.size(); i += 2)
            input_[i] = 1; // a value that is valid in fields of any width
        vl_model_reset();
        vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
        vl_model::record_calls(true);
        fill_stack(byte);
        p4_pd_velmar_switch_init();
        EXPECT_EQ(vl_model_device_add(device, &velmar_switch_pipeline), 0u);
        while (session_ < 100) // a number that no other argument has
            EXPECT_EQ(vl_model_session_open(&session_), 0u);
        for (const Export& each : all)
            seen.push_back(call(each));
        vl_model::record_calls(false);
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        close(nowhere_);
    }

private:
    // A table, a profile, or a word that is neither. The profile's table also uses its members and groups.
    static std::string row_of(const std::string& name) {
        const size_t begin = exported("").size();
        return name.size() < begin ? name : name.substr(begin, name.find('_', begin) - begin);
    }
    std::string maker_of(const Export& each, const std::string& what) const {
        if (each.has("_modify_member_with_"))
            return std::string(each.name).replace(each.name.find("_modify_"), 8, "_add_");
        const std::string row = row_of(each.name);
        for (const catalog::Profile& profile : catalog::program.profiles)
            if (row == profile.table && what != "entry_hdl") return profile.name + what;
        return row + what;
    }

    void add_words(const Export& each, const std::string& argument, std::vector<uint64_t>& words) {
        const uint64_t above_32 = uint64_t{0x0101010101010101} * byte_ << 32, above_8 = above_32 >> 24;
        const std::string what = argument.substr(argument.find_last_of("* ") + 1);
        const auto is = [&](const char* type) { return argument.starts_with(type); };
        if (argument == "...") {
            const std::string row = row_of(each.name);
            words.push_back(made_[row + (made_.contains(row + "mbr_hdl") ? "mbr_hdl" : "entry_hdl")]);
            words.push_back(word(output("blob").data()));
        } else if (argument.find('*') != argument.npos) {
            words.push_back(pointer(each, argument, what));
        } else if (is("pd_driver_callback")) {
            words.push_back(0);
        } else if (is("pd_dev_tgt")) {
            words.push_back(target_word);
        } else if (is("pd_counter_value") || is("pd_register_value")) {
            words.insert(words.end(), {1, 2});
        } else if (is("pd_pvs_target")) {
            words.insert(words.end(), {uint64_t{1} << 32 | device, above_8 << 32 | 1});
        } else if (is("pd_idle_params")) {
            words.resize(6); // it goes by the stack
            words.insert(words.end(), {above_32 | PIPE_IDLE_MODE_NOTIFY, 1, above_32 | 2, 3, 4, above_8 | 1});
        } else {
            words.push_back(is("uint64_t") ? 9999 : above_32 | integer(each, what));
        }
    }
    uint64_t pointer(const Export& each, const std::string& argument, const std::string& what) {
        if (what == "cookie" || argument == "void *message") return 0;
        if (what == "plcmt_data") return blobs_[row_of(each.name)];
        if (what == "match_record") return word(&match_);
        if (what == "action_data") return word(&data_);
        if (what == "query") return word(&query_);
        if (what == "widths") return word(&width_);
        return argument.starts_with("const") ? word(input_.data()) : word(output(what).data());
    }
    uint32_t integer(const Export& each, const std::string& what) {
        if (what == "sess_hdl") return session_;
        if (what == "dev_id") return device;
        if (what == "fd") return static_cast<uint32_t>(nowhere_);
        if (what == "tbl_hdl") return table_named("ipv4Host").handle;
        if (what == "entry_hdl" || what == "mbr_hdl" || what == "grp_hdl") return made_[maker_of(each, what)];
        return 1;
    }
    Bytes& output(const std::string& what) {
        outputs_.push_back({what, &output_buffers_.at(outputs_.size())});
        std::fill(outputs_.back().second->begin(), outputs_.back().second->end(), 0xEE);
        return *outputs_.back().second;
    }

    std::string call(const Export& each) {
        void* const symbol = dlsym(RTLD_DEFAULT, each.name.c_str());
        EXPECT_NE(symbol, nullptr) << each.name;
        std::vector<uint64_t> w;
        outputs_.clear();
        for (const std::string& argument : each.arguments)
            add_words(each, argument, w);
        EXPECT_LE(w.size(), 12u);
        w.resize(12);
        using Word = uint64_t;
        const auto function =
            reinterpret_cast<Word (*)(Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word)>(symbol);
        vl_model::take_calls();
        fill_stack(byte_);
        const auto result =
            static_cast<uint32_t>(function(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9], w[10], w[11]));

        std::string text;
        for (const vl_model::Call& made : vl_model::take_calls())
            append(text, made, made.args.empty() || made.args[0] != session_ ? blobs_[row_of(each.name)] : session_);
        for (const auto& [what, bytes] : outputs_) {
            if (what != "blob")
                text += std::to_string(std::hash<std::string_view>()(
                            {reinterpret_cast<const char*>(bytes->data()), bytes->size()})) +
                        ' ';
            if (result != 0 || each.turn >= others) continue;
            std::memcpy(&made_[row_of(each.name) + what], bytes->data(), sizeof(uint32_t));
            std::memcpy(&made_[each.name], bytes->data(), sizeof(uint32_t));
            if (what == "blob" && !each.has("_sel_")) std::memcpy(&blobs_[row_of(each.name)], bytes->data(), 8);
        }
        if (!each.result.starts_with("void")) text += std::to_string(results[each.name] = result);
        return text;
    }

    uint8_t byte_;
    const int nowhere_ = open("/dev/null", O_WRONLY);
    pd_session session_ = 0;
    std::map<std::string, uint32_t> made_; // handles
    std::map<std::string, uint64_t> blobs_;
    std::vector<std::pair<std::string, Bytes*>> outputs_; // of this call
    std::array<Bytes, 8> output_buffers_ = [] {
        std::array<Bytes, 8> buffers;
        buffers.fill(Bytes(1 << 14));
        return buffers;
    }();
    Bytes input_ = Bytes(1 << 12);
    uint32_t width_ = 8;
    pipe_match_record match_ = {input_.data(), input_.data(), 1, 1, 0, 64, 0};
    pipe_action_data data_ = {0, 0, 0, input_.data()};
    std::array<pipe_stful_element, 4> elements_{};
    pipe_stful_query query_ = {.count = 4, .reserved = 0, .elements = elements_.data()};
};

TEST(DirtyStack, NothingOfItGetsOut) {
    const std::vector<Export> all = exports();
    const Sweep first(all, 0xA5), second(all, 0x5A);
    ASSERT_GT(all.size(), 10 * all_tables().size());
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_TRUE(first.seen[i] == second.seen[i]) << all[i].name;
        const bool needs_a_row = all[i].has("_get_entry") || all[i].has("_get_member") || all[i].has("_modify_");
        EXPECT_EQ(needs_a_row ? first.results.at(all[i].name) : 0, 0u) << all[i].name;
    }
}

} // namespace
