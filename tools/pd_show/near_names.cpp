// Near is what few changes of letters, in any case, make of what was typed, and what has it as a part.
#include "pd_show/near_names.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace pd_show {
namespace {

constexpr size_t most_names = 5;

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char letter) { return lower(letter); });
    return result;
}

// How many letters have to be put in, taken out or changed.
size_t distance(std::string_view from, std::string_view to) {
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= from.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= to.size(); ++j) {
            const size_t change = diagonal + (from[i - 1] != to[j - 1]);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

// The nearest first, and none that are too far off to be meant.
std::vector<std::string> near_names(std::string_view typed, std::span<const std::string> names) {
    struct Candidate {
        size_t distance;
        std::string name;
    };
    const std::string meant = lower(typed);
    const size_t most = std::max<size_t>(2, meant.size() / 3);
    std::vector<Candidate> candidates;
    for (const std::string& name : names) {
        const std::string other = lower(name);
        const size_t far = distance(meant, other);
        // Who knows a part of a long name types that.
        if (far <= most || (meant.size() >= 3 && other.find(meant) != std::string::npos))
            candidates.push_back({far, name});
    }
    std::ranges::stable_sort(candidates, {}, &Candidate::distance);
    std::vector<std::string> nearest;
    for (const Candidate& candidate : candidates)
        if (nearest.size() < most_names) nearest.push_back(candidate.name);
    return nearest;
}

} // namespace

std::string near_text(std::string_view typed, std::span<const std::string> names) {
    const std::vector<std::string> nearest = near_names(typed, names);
    std::string text;
    for (size_t i = 0; i < nearest.size(); ++i)
        text += (i == 0 ? ": did you mean " : i + 1 == nearest.size() ? " or " : ", ") + nearest[i];
    return text.empty() ? text : text + "?";
}

} // namespace pd_show
