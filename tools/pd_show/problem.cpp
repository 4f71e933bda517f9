// Tells complaints, however the run ends.
#include "pd_show/problem.h"

#include <iostream>

namespace pd_show {

Complaints::~Complaints() {
    for (const std::string& what : shown_)
        std::cerr << "pd-show: " << what << '\n';
    if (count_ > shown_.size()) std::cerr << "pd-show: and " << count_ - shown_.size() << " more like these\n";
}

} // namespace pd_show
