// How fields belong together for people.
#pragma once

#include <string>
#include <vector>

#include "catalog/layout.h"

namespace catalog {

// What people see as one: a key field or a parameter, or the two halves of a MAC address.
struct Shown {
    std::string label;
    Tag tag;      // mac only if there are two halves
    size_t first; // in the key or among the parameters
    size_t count;
};

// "dmacOui" and "dmacStation" make "dmac", and "oui" and "station" make "mac". Empty if the two don't belong together.
inline std::string mac_label(const std::string& oui, const std::string& station) {
    if (oui == "oui" && station == "station") return "mac";
    if (!oui.ends_with("Oui")) return {};
    const std::string stem = oui.substr(0, oui.size() - 3);
    return station == stem + "Station" ? stem : std::string();
}

// `fields` is a key or a list of parameters. `belong` says whether a field and the next one are matched alike.
template <class Field, class Belong>
std::vector<Shown> shown(List<Field> fields, Belong belong) {
    std::vector<Shown> all;
    for (size_t i = 0; i < fields.size(); ++i) {
        const Field& field = fields.begin()[i];
        if (field.tag == Tag::mac && i + 1 < fields.size()) {
            const Field& next = fields.begin()[i + 1];
            const std::string label =
                next.tag == Tag::mac && belong(field, next) ? mac_label(field.name, next.name) : std::string();
            if (!label.empty()) {
                all.push_back({label, Tag::mac, i++, 2});
                continue;
            }
        }
        all.push_back({field.name, field.tag == Tag::mac ? Tag::untagged : field.tag, i, 1});
    }
    return all;
}

inline std::vector<Shown> shown_fields(const Table& table) {
    return shown(table.key, [](const KeyField& field, const KeyField& next) { return field.match == next.match; });
}

inline std::vector<Shown> shown_params(const Action& action) {
    return shown(action.params, [](const Param&, const Param&) { return true; });
}

} // namespace catalog
