// Prints the rows that texts are made from as Python literals, one a line: the catalog for check_literals.py.
#include <cstdio>

#include "catalog/catalog.h"

namespace {

using namespace catalog;

void print_tag(Tag tag) {
    constexpr const char* names[] = {"None", "'mac'", "'v4addr'", "'v6addr'", "'port'", "'vport'", "'dec'"};
    std::printf("%s", names[static_cast<int>(tag)]);
}

void print_actions(List<Binding> actions) {
    std::printf("[");
    for (const Binding& binding : actions)
        std::printf("'%s',", binding.action);
    std::printf("])\n");
}

void print_field(const KeyField& field) {
    constexpr const char* kinds[] = {"exact", "ternary", "lpm"};
    std::printf("('%s','%s',%u,0x%016jx%016jx,", field.name, field.pd_name, field.bits, std::uintmax_t{field.mask.high},
                std::uintmax_t{field.mask.low});
    print_tag(field.tag);
    std::printf(",'%s'),", kinds[static_cast<int>(field.match)]);
}

} // namespace

int main() {
    for (const Seam& seam : velmar_switch.seams)
        for (const Table& table : seam.tables) {
            std::printf("('table','%s',%u,%s,[", table.name, table.handle,
                        profile_of(velmar_switch, table) != nullptr ? "True" : "False");
            for (const KeyField& field : table.key)
                print_field(field);
            std::printf("],");
            print_actions(table.actions);
        }
    for (const Profile& profile : velmar_switch.profiles) {
        std::printf("('profile','%s',%u,", profile.name, profile.data_table);
        print_actions(profile.actions);
    }
    for (const Action& action : velmar_switch.actions) {
        std::printf("('action','%s',[", action.name);
        for (const Param& param : action.params) {
            std::printf("('%s',%u,", param.name, param.bits);
            print_tag(param.tag);
            std::printf("),");
        }
        std::printf("])\n");
    }
}
