// Handles: which of them stand, and what is wrong with those that a call names. Values are judged by the catalog, but
// handles by what the driver said: one that it accepts is good, even if nobody has seen it before, and is known from
// then on. Not safe for several threads.
#pragma once

#include <vector>

#include "watch/books.h"
#include "watch/mistakes.h"
#include "watch/values.h"
#include "watch/view.h"

namespace pd_watch {

class Handles {
public:
    Handles(const Pipeline& pipeline, const Values& values) : pipeline_(pipeline), values_(values) {}

    // Of a refused call: which handles may be the reason. Of others: they stand.
    void check(const View& view, std::vector<Finding>& findings);
    // Notes what the call has changed.
    void note(const View& view, std::vector<Finding>& findings);
    // From now on nothing is sure to stand on the device.
    void doubt(uint32_t device);
    std::vector<Finding> leftovers();

private:
    using Findings = std::vector<Finding>;

    void look(const View& view, uint32_t table, uint32_t handle, const char* what, Findings& findings);
    void note_entry(const View& view, uint32_t handle, const pipe_match_record* match, bool is_new, Findings& findings);
    void note_action(const View& view, uint32_t entry, Findings& findings);
    void count_uses(const View& view, const Reference& reference, int change);

    const Pipeline& pipeline_;
    const Values& values_;
    Books books_;
    Book no_book_; // of tables without a profile
};

} // namespace pd_watch
