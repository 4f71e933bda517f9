// The search for near names.
#include "views/problem.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace pd_views {
namespace {

constexpr size_t most_names = 5;

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

// How many letters must be inserted, deleted or changed.
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

} // namespace

std::string near_text(std::string_view typed, std::span<const std::string> names) {
    using Candidate = std::pair<size_t, std::string>; // the distance and the name
    const std::string meant = lower(typed);
    const size_t most = std::max<size_t>(2, meant.size() / 3);
    std::vector<Candidate> near;
    for (const std::string& name : names) {
        const std::string other = lower(name);
        const size_t far = distance(meant, other);
        // People also type a part of a long name.
        if (far <= most || (meant.size() >= 3 && other.find(meant) != std::string::npos)) near.emplace_back(far, name);
    }
    std::ranges::stable_sort(near, {}, &Candidate::first);
    near.resize(std::min(near.size(), most_names));
    std::string text;
    for (size_t i = 0; i < near.size(); ++i)
        text += (i == 0 ? ": did you mean " : i + 1 == near.size() ? " or " : ", ") + near[i].second;
    return text.empty() ? text : text + "?";
}

} // namespace pd_views
