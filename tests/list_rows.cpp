// Prints the rows that texts come from for check_literals.py: one Python literal on each line.
#include <cstdio>

#include "catalog/rows.h"

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
    for (const Table& table : tables(program)) {
        std::printf("('table','%s',%u,%s,[", table.name, table.handle, is_indirect(table) ? "True" : "False");
        for (const KeyField& field : table.key)
            print_field(field);
        std::printf("],");
        print_actions(table.actions);
    }
    for (const Profile& profile : program.profiles) {
        std::printf("('profile','%s',%u,", profile.name, profile.data_table);
        print_actions(profile.actions);
    }
    for (const Action& action : program.actions) {
        std::printf("('action','%s',[", action.name);
        for (const Param& param : action.params) {
            std::printf("('%s',%u,", param.name, param.bits);
            print_tag(param.tag);
            std::printf("),");
        }
        std::printf("])\n");
    }
}
