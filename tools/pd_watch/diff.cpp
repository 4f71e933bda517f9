// Compares two recordings.
#include <array>
#include <cstdio>

#include "tools/pd_watch/call_text.h"
#include "tools/pd_watch/commands.h"
#include "tools/pd_watch/comparison.h"

namespace pd_watch {

int diff(const Words& words) {
    if (words.size() != 2 || words[0].starts_with("-") || words[1].starts_with("-"))
        throw Mistake("diff takes two recordings");
    const Pipeline pipeline;
    std::array<Recording, 2> recordings{Recording(words[0]), Recording(words[1])};
    const bool names = recordings[0].is_of_embedded_driver() && recordings[1].is_of_embedded_driver();
    const CallText text(pipeline, false, names);
    const auto tell = [&](size_t which, const Json& call) {
        if (call == nullptr)
            printf("%s: ends\n", words[which].c_str());
        else
            printf("%s: call %lu\n%s\n", words[which].c_str(), number_in(call.get(), "seq"),
                   text.line(call.get()).c_str());
    };
    Comparison comparison(pipeline);
    for (uint64_t count = 0;; ++count) {
        const Json first = recordings[0].next();
        const Json second = recordings[1].next();
        if (first == nullptr && second == nullptr) {
            printf("%lu calls, the same in both\n", count);
            break;
        }
        std::vector<Difference> differences;
        if (first != nullptr && second != nullptr) {
            differences = comparison.differences(first.get(), second.get(), true);
            if (differences.empty()) continue;
        }
        printf("%lu calls are the same in both, then they part:\n", count);
        tell(0, first);
        tell(1, second);
        for (const Difference& each : differences)
            printf("%s: %s in the first, %s in the second\n", each.name.c_str(), each.first.c_str(),
                   each.second.c_str());
        for (const Recording& recording : recordings)
            recording.tell_cut();
        return 1;
    }
    for (const Recording& recording : recordings)
        recording.tell_cut();
    return 0;
}

} // namespace pd_watch
