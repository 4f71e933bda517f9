#include "pd_show/problem.h"

#include <iostream>

namespace pd_show {

void Complaints::add(const std::string& what) {
    if (++count_ <= most_shown) std::cerr << "pd-show: " << what << '\n';
}

void Complaints::finish() const {
    if (count_ > most_shown) std::cerr << "pd-show: and " << count_ - most_shown << " more like these\n";
}

} // namespace pd_show
