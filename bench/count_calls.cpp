// For scripts/count-instructions, which runs it under callgrind and sees what each call cost. Calls every exported
// function once, each with what it needs in place. Prints how it was built, then for each call the function, its family
// and the shape of its table, with tabs between them.
#include <gnu/libc-version.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "generator/namer.h"
#include "support/every_export.h"

namespace {

// "masked, meter", or "-" for functions that belong to no table.
std::string shape_of(const catalog::Table* table) {
    if (table == nullptr) return "-";
    constexpr const char* shapes[] = {"keyless", "exact", "masked", "prefix"};
    std::string shape = shapes[static_cast<int>(catalog::key_shape(*table))];
    if (table->partitioned) shape += ", partitioned";
    if (catalog::is_indirect(*table)) shape += ", indirect";
    if (catalog::resource_of(catalog::program, *table).kind == catalog::ResourceKind::meter) shape += ", meter";
    if (table->ttl_on_add) shape += ", ttl";
    return shape;
}

// The script counts the calls that this function makes, because the preparations call exported functions too.
[[gnu::noinline]] uint64_t measured(void* function, const std::vector<uint64_t>& words) {
    return support::call_at(function, words);
}

} // namespace

int main() {
    std::printf("%s, glibc %s\n", BUILD, gnu_get_libc_version());
    std::map<std::string, std::string> groups;
    for (const generator::Member& member : generator::name_exports(catalog::program).members)
        groups[member.name] = std::string(member.family->name) + '\t' + shape_of(member.table);

    support::ExportCalls calls;
    for (const support::Export& each : support::every_export()) {
        // The driver calls the library back from within this one, so its instructions can't be told apart.
        if (each.has("_restore_virtual_dev_state")) continue;
        calls.prepare(each);
        void* const function = support::address_of(each.name);
        CALLGRIND_TOGGLE_COLLECT;
        const uint64_t result = measured(function, calls.words());
        CALLGRIND_TOGGLE_COLLECT;
        if (static_cast<uint32_t>(result) == 0) calls.keep();
        std::printf("%s\t%s\n", each.name.c_str(), groups.at(each.name).c_str());
    }
}
