// Hardware that differs from the software, because tests edit it or damage it at random.
#include <algorithm>
#include <random>

#include "core/model.h"

namespace vl_model {

namespace {

// Runs `body` on the match table or data table that has the row.
template <class Body>
uint32_t with_row(uint32_t dev_id, uint32_t tbl_hdl, uint32_t handle, Body&& body) {
    return guarded([&] {
        const auto device = lock_device(dev_id);
        const auto on_row = [&](auto& table) {
            table.require_row(handle);
            body(table);
        };
        if (device->tables.contains(tbl_hdl))
            on_row(device->table(tbl_hdl));
        else
            on_row(device->data_table(tbl_hdl));
    });
}

struct Damage {
    vl_model_damage what;
    uint32_t bits;                                     // 0 if the entry has no such bits
    std::vector<uint8_t> EntryImage::*bytes = nullptr; // where the bits are
};

// All kinds of damage that are possible for the entry are equally likely. Only ternary tables have masks in hardware.
Damage choose_damage(const Table& table, const EntryView& entry, std::mt19937_64& random) {
    const uint32_t key_bits = entry.key_len * 8U;
    const bool has_mask_bits = table.description.match == VL_MODEL_TERNARY;
    const Damage choices[] = {
        {.what = VL_MODEL_LOST, .bits = 1},
        {.what = VL_MODEL_KEY_BIT, .bits = key_bits, .bytes = &EntryImage::key},
        {.what = VL_MODEL_MASK_BIT, .bits = has_mask_bits ? key_bits : 0U, .bytes = &EntryImage::mask},
        {.what = VL_MODEL_DATA_BIT, .bits = entry.data_len * 8U, .bytes = &EntryImage::data},
        {.what = VL_MODEL_MEMBER_BIT, .bits = entry.kind == PIPE_KIND_MEMBER ? 32U : 0U},
    };
    Damage choice{};
    while (choice.bits == 0)
        choice = choices[random() % std::size(choices)];
    return choice;
}

void flip(std::vector<uint8_t>& bytes, uint32_t bit) {
    bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ 1U << bit % 8);
}

vl_model_corruption corrupt(Table& table, pipe_ent_hdl ent_hdl, std::mt19937_64& random) {
    const EntryView entry = table.entries.view(ent_hdl);
    const Damage damage = choose_damage(table, entry, random);
    const auto bit = static_cast<uint32_t>(random() % damage.bits);
    std::optional<EntryImage> image;
    if (damage.what != VL_MODEL_LOST) image = image_of(entry);
    if (damage.bytes != nullptr) flip((*image).*damage.bytes, bit);
    if (damage.what == VL_MODEL_MEMBER_BIT) image->member_hdl ^= UINT32_C(1) << bit;
    table.set_hardware(ent_hdl, std::move(image));
    return {.tbl_hdl = table.description.handle, .ent_hdl = ent_hdl, .what = damage.what, .bit = bit};
}

uint32_t intact_entries(const Table& table) {
    const bool default_differs = table.hardware.contains(table.default_handle());
    return table.entries.count() - static_cast<uint32_t>(table.hardware.size()) + (default_differs ? 1U : 0U);
}

// In the order of handles, so that the seed alone decides.
std::vector<Table*> sorted_tables(const Device& device) {
    std::vector<Table*> tables;
    for (const auto& [handle, table] : device.tables)
        tables.push_back(table.get());
    std::sort(tables.begin(), tables.end(),
              [](const Table* a, const Table* b) { return a->description.handle < b->description.handle; });
    return tables;
}

} // namespace

uint32_t edit_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl,
                       const std::function<void(EntryImage&)>& edit) {
    EntryImage image;
    const uint32_t status = with_row(dev_id, tbl_hdl, ent_hdl,
                                     [&](const auto& table) { image = image_of(view_of_row(table, ent_hdl, true)); });
    if (status != VL_MODEL_OK) return status;
    {
        const WithinCallback within;
        edit(image);
    }
    return with_row(dev_id, tbl_hdl, ent_hdl, [&](auto& table) { table.set_hardware(ent_hdl, std::move(image)); });
}

uint32_t drop_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl) {
    return with_row(dev_id, tbl_hdl, ent_hdl, [&](auto& table) { table.set_hardware(ent_hdl, std::nullopt); });
}

} // namespace vl_model

using namespace vl_model;

uint32_t vl_model_hardware_corrupt(uint32_t dev_id, uint64_t seed, uint32_t count, vl_model_corruption* corrupted,
                                   uint32_t* corrupted_count) {
    return guarded([&] {
        refuse_if(corrupted_count == nullptr || (corrupted == nullptr && count != 0), VL_MODEL_INVALID);
        *corrupted_count = 0;
        const auto device = lock_device(dev_id);
        const std::vector<Table*> tables = sorted_tables(*device);
        uint64_t left = 0;
        for (const Table* table : tables)
            left += intact_entries(*table);
        // One pass: the chance of each entry is the number still wanted, divided by the number of entries left.
        std::mt19937_64 random(seed);
        for (Table* table : tables) {
            for (pipe_ent_hdl entry = table->entries.first(); entry != 0; entry = table->entries.next(entry)) {
                if (*corrupted_count == count) return;
                if (table->hardware.contains(entry)) continue;
                if (random() % left < count - *corrupted_count) {
                    corrupted[*corrupted_count] = corrupt(*table, entry, random);
                    ++*corrupted_count;
                }
                --left;
            }
        }
    });
}
