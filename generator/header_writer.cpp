// The public headers. They are C11 and C++, and short enough to read: a table's record, then its functions.
#include <algorithm>
#include <cctype>

#include "catalog/layout.h"
#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

constexpr std::string_view ending = "\nPD_END_DECLS\n\n#endif\n";

// The comment and the guard of a header.
std::string guarded(const Exports& exports, std::string_view name, std::string_view subject) {
    std::string guard = std::string("VL_PD_").append(exports.rows->name).append("_").append(name).append("_H");
    for (char& letter : guard)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    std::string text = std::string("/* ").append(subject).append(" Made from the catalog; see ");
    text.append(exports.rows->name).append(".h for what the functions do. */\n#ifndef ").append(guard);
    return text.append("\n#define ").append(guard).append("\n\n");
}

std::string opening(const Exports& exports, std::string_view name, std::string_view subject,
                    std::string_view include = "vl_pd/types.h") {
    return guarded(exports, name, subject).append("#include \"").append(include).append("\"\n\nPD_BEGIN_DECLS\n\n");
}

std::string record_type(unsigned bytes) {
    if (bytes > 4) return "pd_bytes" + std::to_string(bytes);
    return bytes == 4 ? "uint32_t" : bytes == 2 ? "uint16_t" : "uint8_t";
}

// `addition` is what else the reader must know of the bits.
std::string range_note(unsigned bits, unsigned bytes, const std::string& addition = {}) {
    if (bits == bytes * 8 && addition.empty()) return "";
    return " /* " + std::to_string(bits) + (bits == 1 ? " bit" : " bits") + addition + " */";
}

std::string match_note(const Table& table, const KeyField& field) {
    if (table.partitioned && &field == table.key.begin()) return "; names a partition, isn't matched";
    KeyField whole = field;
    whole.mask = {};
    if (matched_bits(field) == matched_bits(whole)) return "";
    return ", of which " + matched_bits(field) + " are matched";
}

std::string record_open(const std::string& type) {
    return "typedef struct " + type.substr(0, type.size() - 2) + " {\n";
}

// A 128-bit value begins at an even offset, but its type, an array of bytes, doesn't demand that. So a gap before it,
// or after the last field, becomes a reserved member. Then every parser of the header finds the same layout.
class MatchSpecText {
public:
    void add(unsigned offset, unsigned bytes, const std::string& name, const std::string& note) {
        close_gap(offset, bytes > 4 ? 1 : bytes);
        text_ += "    " + record_type(bytes) + " " + name + ";" + note + "\n";
        end_ = offset + bytes;
    }

    std::string finish(unsigned record_size) {
        close_gap(record_size, alignment_);
        return text_;
    }

private:
    // `alignment` is C's alignment of the next member.
    void close_gap(unsigned offset, unsigned alignment) {
        const unsigned by_itself = (end_ + alignment - 1) / alignment * alignment;
        if (by_itself != offset)
            text_ += "    uint8_t reserved_" + std::to_string(end_) + "[" + std::to_string(offset - end_) + "];\n";
        alignment_ = std::max(alignment_, alignment);
    }

    std::string text_;
    unsigned end_ = 0;
    unsigned alignment_ = 1; // of the record so far
};

std::string match_spec(const Catalog& rows, const Table& table) {
    const KeyLayout layout = key_layout(table);
    const std::string type = match_spec_name(rows, table);
    MatchSpecText members;
    for (size_t i = 0; i < layout.field_count; ++i) {
        const KeyField& field = table.key.begin()[layout.record_order[i]];
        const FieldLayout& place = layout.fields[layout.record_order[i]];
        const std::string name = field.pd_name;
        members.add(place.record_offset, place.record_bytes, name,
                    range_note(field.bits, place.record_bytes, match_note(table, field)));
        if (place.partner_bytes != 0)
            members.add(place.partner_offset, place.partner_bytes, name + partner_suffix(field), "");
    }
    return record_open(type) + members.finish(layout.record_size) + "} " + type + ";\n\n";
}

std::string action_spec(const Catalog& rows, const Action& action) {
    const std::string type = action_spec_name(rows, action);
    std::string text = record_open(type);
    for (const Param& param : action.params) {
        const unsigned bytes = record_bytes(param.bits);
        text += "    " + record_type(bytes) + " action_" + param.name + ";" + range_note(param.bits, bytes) + "\n";
    }
    return text + "} " + type + ";\n\n";
}

// The numbers of the actions, and the records of those that have parameters.
std::string action_types(const Catalog& rows) {
    const std::string enumeration = std::string(rows.prefix) + "action";
    std::string text = "enum " + enumeration + " {\n";
    for (size_t number = 0; number < rows.actions.size(); ++number)
        text += "    " + enumeration + "_" + rows.actions[number].name + " = " + std::to_string(number) + ",\n";
    text += "    " + enumeration + "_count = " + std::to_string(rows.actions.size()) + "\n};\n\n";
    for (const Action& action : rows.actions)
        if (action.params.size() != 0) text += action_spec(rows, action);
    return text;
}

// For readers of entries, whose action isn't known before. Empty if no action has a record.
std::string action_specs(const Catalog& rows, const char* owner, List<Binding> bindings) {
    const std::string type = action_specs_name(rows, owner, bindings);
    if (type.empty()) return "";
    std::string text = "/** Room for the record of any action of " + std::string(owner) + ". */\ntypedef union " +
                       type.substr(0, type.size() - 2) + " {\n";
    for (const Binding& binding : bindings) {
        const Action& action = rows.actions[number_of(rows.actions, binding.action)];
        if (action.params.size() != 0) text += "    " + action_spec_name(rows, action) + " " + action.name + ";\n";
    }
    return text + "} " + type + ";\n\n";
}

// Byte arrays, because the driver decides what the bytes mean. They also leave the record without gaps.
std::string digest_entry(const Catalog& rows, const Digest& digest) {
    const std::string type = digest_entry_name(rows, digest);
    std::string text = "/** An entry of " + std::string(digest.name) + ". Its fields hold the driver's bytes. */\n" +
                       record_open(type);
    unsigned offset = 0;
    for (const DigestField& field : digest.fields) {
        text += std::string("    uint8_t ") + field.pd_name + "[" + std::to_string(field.bytes) + "]; /* offset " +
                std::to_string(offset) + " */\n";
        offset += field.bytes;
    }
    return text + "} " + type + ";\n\n";
}

// A comment that editors show with the declaration below it, in lines of at most 120 columns.
std::string doc_comment(std::string_view text) {
    constexpr size_t room = 113;
    std::string lines = "/** ";
    while (text.size() > room) {
        const size_t end = text.rfind(' ', room);
        lines.append(text.substr(0, end)).append("\n *  ");
        text.remove_prefix(end + 1);
    }
    return lines.append(text).append(" */\n");
}

std::string declaration(const Member& member) {
    return doc_comment(member.doc) + member.signature() + " PD_NOEXCEPT;\n";
}

const char* shape_text(KeyShape shape) {
    switch (shape) {
    case KeyShape::keyless:
        return "keyless";
    case KeyShape::exact:
        return "exact";
    case KeyShape::masked:
        return "masked, with priority";
    case KeyShape::prefix:
        return "longest prefix";
    }
    return "";
}

std::string table_title(const Catalog& rows, const Table& table) {
    std::string text =
        std::string("\n/* ") + table.name + " (" + shape_text(key_shape(table)) + "): " + table.summary + " */\n\n";
    if (key_shape(table) != KeyShape::keyless) text += match_spec(rows, table);
    return text + action_specs(rows, table.name, table.actions);
}

} // namespace

std::string write_header(const Exports& exports, const File& file) {
    const Catalog& rows = *exports.rows;
    const std::string actions_header = std::string("vl_pd/") + rows.name + "/actions.h";
    if (file.seam != nullptr) {
        std::string text = opening(exports, file.seam->name, file.seam->summary, actions_header);
        const Table* last = nullptr;
        for (const Member& member : exports.members) {
            if (member.seam != file.seam) continue;
            if (member.table != last) text += table_title(rows, *member.table);
            last = member.table;
            text += declaration(member);
        }
        return text.append(ending);
    }
    std::string text;
    switch (file.shard) {
    case Shard::program:
        text = opening(exports, "program", "Functions and data of the program as a whole.");
        for (const Data& data : exports.data)
            text += "extern " + data.declaration + ";\n";
        text += "\n";
        break;
    case Shard::actions:
        text = opening(exports, "actions", "Actions: their numbers, and the records of their parameters.");
        text += action_types(rows);
        break;
    case Shard::profiles:
        text = opening(exports, "profiles", "Action profiles: members and selector groups.", actions_header);
        for (const Profile& profile : rows.profiles)
            text += action_specs(rows, profile.name, profile.actions);
        break;
    default:
        text = opening(exports, "resources",
                       "Counters, meters, WRED blocks, registers, digests, value sets and hash calculations.");
        for (const Digest& digest : rows.digests)
            text += digest_entry(rows, digest);
    }
    for (const Member& member : exports.members)
        if (member.shard == file.shard) text += declaration(member);
    return text.append(ending);
}

std::string write_handles_header(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::string text = guarded(exports, "handles", "Handles of tables and resources, and ids of value sets.");
    const auto add = [&](const std::string& kind, const auto& list, auto number_of_row) {
        if (list.size() == 0) return;
        const std::string name = rows.prefix + kind;
        std::string lines;
        for (const auto& row : list)
            lines += (lines.empty() ? "    " : ",\n    ") + name + "_" + row.name + " = " + number_of_row(row);
        text += "enum " + name + " {\n" + lines + "\n};\n\n";
    };
    const auto handle = [](const auto& row) { return hex(row.handle); };
    add("table", tables(rows), handle);
    add("profile", rows.profiles, [](const Profile& row) { return hex(row.data_table); });
    add("selector", rows.profiles, [](const Profile& row) { return hex(row.selector); });
    add("counter", rows.counters, handle);
    add("meter", rows.meters, handle);
    add("wred", rows.wred_blocks, handle);
    add("register", rows.registers, handle);
    add("digest", rows.digests, handle);
    add("hash_calc", rows.hash_calculations, handle);
    add("pvs", rows.value_sets, [](const ValueSet& row) { return std::to_string(row.id); });
    return text + "#endif\n";
}

std::string write_functions_header(const Exports& exports) {
    std::string text = guarded(exports, "functions", "All functions of the program.");
    for (const File& file : files(*exports.rows))
        if (file.text == Text::header || file.text == Text::handles)
            text += "#include \"" + file.path.substr(file.path.find('/') + 1) + "\"\n";
    return text + "\n#endif\n";
}

} // namespace generator
