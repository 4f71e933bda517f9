// Expands the families for a catalog: gives all exported names with their signatures and bodies.
#pragma once

#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "generator/families.h"

namespace generator {

struct Member {
    const Family* family = nullptr;
    const Area* area = nullptr;
    Shard shard = Shard::program;
    // The rows that the member belongs to; null if it belongs to none.
    const catalog::Seam* seam = nullptr;
    const catalog::Table* table = nullptr;
    const catalog::Profile* profile = nullptr;

    std::string name = {};
    std::string doc = {};
    std::string result = {};
    std::string arguments = {};
    std::string call = {};
    std::string definition = {}; // empty for a function that forwards

    // "pd_status p4_...(pd_session sess_hdl, ...)"
    std::string signature() const;
};

struct Data {
    std::string name;
    std::string declaration;
};

// Members have the order of the rows; the members of one row have the order of the families.
struct Exports {
    const catalog::Catalog* rows;
    std::vector<Data> data;
    std::vector<Member> members;
};

std::string match_spec_name(const catalog::Catalog& rows, const catalog::Table& table);
std::string action_spec_name(const catalog::Catalog& rows, const catalog::Action& action);

// The union of the records of a table's or profile's actions. Empty if none of these actions has a record.
std::string action_specs_name(const catalog::Catalog& rows, const char* owner,
                              catalog::List<catalog::Binding> bindings);

std::string digest_entry_name(const catalog::Catalog& rows, const catalog::Digest& digest);

// The end of the name of a field's partner: "_mask" or "_prefix_length".
std::string partner_suffix(const catalog::KeyField& field);

// The bits of a field that the table matches, like "0xfff00000", with the digits that the field's width needs.
std::string matched_bits(const catalog::KeyField& field);

// "0x1000023"
std::string hex(uint32_t value);

Exports name_exports(const catalog::Catalog& rows);

} // namespace generator
