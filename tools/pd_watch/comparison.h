// Compares calls of two runs. Handles may have other numbers, if the same new handle in both runs is the same thing.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/pd_watch/recording.h"
#include "watch/functions.h"
#include "watch/pipeline.h"

namespace pd_watch {

// What the handles of a call belong to.
struct Place {
    uint64_t device = 0;
    uint32_t table = 0;
};

struct Difference {
    std::string name;
    std::string first;
    std::string second;
};

class Comparison {
public:
    explicit Comparison(const Pipeline& pipeline) : pipeline_(pipeline) {}

    // What differs between two calls, in the order of the call. The first run is the one that is compared with.
    // `whole`: the arguments, too, and not only the answer.
    std::vector<Difference> differences(const cJSON* first, const cJSON* second, bool whole);

    // The handle of the second run for that of the first; the same number if it is in neither run, and a handle that
    // never was if it is another thing of the second run.
    uint64_t second_of(Kind kind, const Place& place, uint64_t first) const;
    bool knows(Kind kind, const Place& place, uint64_t first) const;
    void bind(Kind kind, const Place& place, uint64_t first, uint64_t second);

    // The handles of a call's arguments belong to this.
    Place place_of(const Function& function, const cJSON* raw) const;

private:
    struct Handles {
        std::unordered_map<uint64_t, uint64_t> second; // by that of the first run
        std::unordered_map<uint64_t, uint64_t> first;
    };
    using Space = std::array<uint64_t, 3>;

    Space space_of(Kind kind, const Place& place) const;
    bool same_handle(Kind kind, const Place& place, const cJSON* first, const cJSON* second, bool is_new,
                     bool may_bind);
    bool same_records(const Place& place, const cJSON* first, const cJSON* second, bool is_output);
    bool same(const Function& function, Kind kind, const Place& place, const cJSON* first, const cJSON* second);

    const Pipeline& pipeline_;
    std::map<Space, Handles> handles_;
    std::unordered_map<uint64_t, Place> places_; // by pointer of the first run
};

// The arguments of a call by position, as the recording has them. Null where it has none.
std::array<const cJSON*, most_arguments> arguments_of(const Function& function, const cJSON* raw);

} // namespace pd_watch
