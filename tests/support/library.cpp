// See library.h.
#include "support/library.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "vl_pd/velmar_switch_pipeline.h"

namespace support {

LibraryTest::LibraryTest() {
    vl_model_reset();
    p4_pd_velmar_switch_init();
    EXPECT_EQ(vl_model_device_add(device, &velmar_switch_pipeline), 0u);
    EXPECT_EQ(vl_model_session_open(&session), 0u);
    vl_model::record_calls(true);
}

LibraryTest::~LibraryTest() {
    EXPECT_EQ(vl_model::live_allocations(), 0u);
    vl_model::record_calls(false);
    vl_model::set_answer_hook({});
    vl_model::clear_faults();
}

std::vector<vl_model::Call> LibraryTest::calls() {
    return vl_model::take_calls();
}

std::vector<vl_model::Call> LibraryTest::calls_of(std::string_view function) {
    std::vector<vl_model::Call> all = calls();
    std::erase_if(all, [&](const vl_model::Call& call) { return call.function != function; });
    return all;
}

std::vector<vl_model::Call> LibraryTest::driver_calls() {
    std::vector<vl_model::Call> all = calls();
    std::erase_if(all, [](const vl_model::Call& call) { return call.function.starts_with("bf_sys_"); });
    return all;
}

vl_model::Call LibraryTest::only_call() {
    const std::vector<vl_model::Call> all = driver_calls();
    EXPECT_EQ(all.size(), 1u);
    return all.empty() ? vl_model::Call{} : all.front();
}

std::vector<std::string> LibraryTest::log_lines() {
    std::vector<std::string> lines;
    for (const vl_model::Call& call : calls_of("bf_sys_log_and_trace"))
        lines.push_back(call.text);
    return lines;
}

std::vector<const catalog::Table*> all_tables() {
    std::vector<const catalog::Table*> tables;
    for (const catalog::Table& table : catalog::tables(catalog::program))
        tables.push_back(&table);
    return tables;
}

std::vector<const catalog::Table*> keyed_tables() {
    std::vector<const catalog::Table*> tables = all_tables();
    std::erase_if(tables, [](const catalog::Table* table) { return table->key.size() == 0; });
    return tables;
}

const catalog::Table& table_named(const char* name) {
    for (const catalog::Table* table : all_tables())
        if (catalog::same(table->name, name)) return *table;
    ADD_FAILURE() << "no table " << name;
    std::abort();
}

const catalog::Action& action_of(const catalog::Binding& binding) {
    return catalog::program.actions[catalog::number_of(catalog::program.actions, binding.action)];
}

static void fill(Bytes& record, unsigned offset, unsigned bytes, unsigned bits, std::mt19937& random) {
    for (unsigned i = 0; i < bytes; i += 4) {
        const uint32_t value = static_cast<uint32_t>(random()) & (bits < 32 ? (1u << bits) - 1 : ~0u);
        std::memcpy(&record[offset + i], &value, std::min(bytes, 4u));
    }
}

Bytes random_match_spec(const catalog::Table& table, std::mt19937& random) {
    const catalog::KeyLayout layout = catalog::key_layout(table);
    Bytes record(layout.record_size);
    for (size_t i = 0; i < layout.field_count; ++i) {
        const catalog::KeyField& field = table.key.begin()[i];
        const catalog::FieldLayout& place = layout.fields[i];
        fill(record, place.record_offset, place.record_bytes, field.bits, random);
        if (field.match == catalog::Match::ternary)
            fill(record, place.partner_offset, place.partner_bytes, field.bits, random);
        if (field.match == catalog::Match::lpm) record[place.partner_offset] = uint8_t(random() % (field.bits + 1));
    }
    return record;
}

Bytes random_action_spec(const catalog::Action& action, std::mt19937& random) {
    const catalog::ActionLayout layout = catalog::action_layout(action);
    Bytes record(layout.record_size);
    for (size_t i = 0; i < layout.param_count; ++i)
        fill(record, layout.params[i].record_offset, layout.params[i].record_bytes, layout.params[i].bits, random);
    return record;
}

std::vector<uint32_t> unknown_handles(Known known) {
    std::set<uint32_t> tables, profiles, selectors;
    for (const catalog::Table* table : all_tables())
        tables.insert(table->handle);
    for (const catalog::Profile& profile : catalog::program.profiles) {
        profiles.insert(profile.data_table);
        selectors.insert(profile.selector);
    }
    std::set<uint32_t> handles = {0, catalog::program.counters[0].handle, ~uint32_t{0}};
    for (const auto& kind : {tables, profiles, selectors})
        for (uint32_t handle = *kind.begin() - 1; handle <= *kind.rbegin() + 1; ++handle)
            handles.insert(handle);
    std::erase_if(handles, [&](uint32_t handle) {
        return (known != Known::profiles && tables.contains(handle)) ||
               (known != Known::tables && profiles.contains(handle));
    });
    return {handles.begin(), handles.end()};
}

uint32_t call(const std::string& name, std::initializer_list<Word> words) {
    std::vector<uint64_t> present;
    for (const Word& word : words)
        if (word) present.push_back(*word);
    return call(name, present);
}

uint32_t call(const std::string& name, const std::vector<uint64_t>& words) {
    return static_cast<uint32_t>(call_for_word(name, words));
}

void* address_of(const std::string& name) {
    void* const symbol = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(symbol, nullptr) << "the library doesn't export " << name;
    return symbol;
}

uint64_t call_for_word(const std::string& name, const std::vector<uint64_t>& words) {
    EXPECT_LE(words.size(), most_words);
    void* const function = address_of(name);
    return function != nullptr ? call_at(function, words) : ~uint64_t{0};
}

std::string hex(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        text += digits;
    }
    if (!text.empty()) text.pop_back();
    return text;
}

bool is_clear(const void* memory, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(memory);
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
}

} // namespace support
