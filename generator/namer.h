// Expands the families over a catalog: which exported names there are, with their signatures and bodies.
#pragma once

#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "generator/families.h"

namespace generator {

struct Member {
    const Family* family = nullptr;
    std::string name;
    std::string result;
    std::string arguments;
    std::string body;
    std::string definition; // empty for a function with a body

    // "pd_status p4_...(pd_session sess_hdl, ...)"
    std::string signature() const;
};

struct Data {
    std::string name;
    std::string declaration;
};

struct TableExports {
    const catalog::Table* table;
    std::vector<Member> members;
};

struct SeamExports {
    const catalog::Seam* seam;
    std::vector<TableExports> tables;
};

struct ProfileExports {
    const catalog::Profile* profile;
    std::vector<Member> members;
};

struct Exports {
    const catalog::Catalog* rows;
    std::vector<Data> data;
    std::vector<Member> program;
    std::vector<Member> actions;
    std::vector<ProfileExports> profiles;
    std::vector<Member> resources; // all rows that are neither table, action nor profile
    std::vector<SeamExports> seams;

    // All functions, in no particular order.
    std::vector<const Member*> functions() const;
};

std::string prefix(const catalog::Catalog& rows);
std::string match_spec_name(const catalog::Catalog& rows, const catalog::Table& table);
std::string action_spec_name(const catalog::Catalog& rows, const catalog::Action& action);

// What the name of a field's partner has behind the field's own: "_mask" or "_prefix_length".
std::string partner_suffix(const catalog::KeyField& field);

// "0x1000023"
std::string hex(uint32_t value);

Exports name_exports(const catalog::Catalog& rows);

} // namespace generator
