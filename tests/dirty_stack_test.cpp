// What the library sends and writes must not depend on what was on its stack. All exported functions are called twice
// from the same start, on stacks full of two different bytes. The driver must get the same records, reserved bytes
// included, and outputs and results must be the same.
#include "support/effects.h"

namespace {

using namespace support;

TEST(DirtyStack, NothingOfItGetsOut) {
    const std::vector<Effect> first = effects(0xA5), second = effects(0x5A);
    ASSERT_GT(first.size(), 10 * all_tables().size());
    for (size_t i = 0; i < first.size(); ++i) {
        const std::string& name = first[i].name;
        EXPECT_TRUE(first[i].seen == second[i].seen) << name;
        const auto has = [&](const char* part) { return name.find(part) != name.npos; };
        if (has("_get_entry") || has("_get_member") || has("_modify_")) {
            EXPECT_EQ(first[i].result, 0u) << name;
        }
    }
}

} // namespace
