// The parameters of all actions in one list, with a directory by action number.
#include "pd_velmar/columns.h"

#include <array>
#include <cassert>

namespace vl_pd {

namespace {

constexpr size_t action_count = catalog::program.actions.size();

constexpr size_t param_count = [] {
    size_t count = 0;
    for (const catalog::Action& action : catalog::program.actions)
        count += action.params.size();
    return count;
}();

struct Directory {
    std::array<ParamColumn, param_count> params{};
    std::array<uint16_t, action_count + 1> first{};
};

constexpr Directory directory = [] {
    Directory made;
    size_t end = 0;
    for (size_t number = 0; number < action_count; ++number) {
        made.first[number] = static_cast<uint16_t>(end);
        const catalog::ActionLayout layout = catalog::action_layout(catalog::program.actions[number]);
        for (size_t i = 0; i < layout.param_count; ++i)
            made.params[end++] = {.name = catalog::program.actions[number].params.begin()[i].name,
                                  .digits = (layout.params[i].bits + 3) / 4,
                                  .mask = encoding::width_mask(layout.params[i].bits),
                                  .record_offset = layout.params[i].record_offset,
                                  .record_bytes = layout.params[i].record_bytes};
    }
    made.first[action_count] = static_cast<uint16_t>(end);
    return made;
}();

} // namespace

std::span<const ParamColumn> param_columns(uint32_t action) noexcept {
    assert(action < action_count && "unknown action");
    const ParamColumn* const params = directory.params.data();
    return {params + directory.first[action], params + directory.first[action + 1]};
}

} // namespace vl_pd
