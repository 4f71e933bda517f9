// Reads counters for whoever shows them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "views/work.h"

namespace pd_views {

// Takes the counts as they are read.
class CountSink {
public:
    virtual ~CountSink() = default;
    // A counter. `table` is null if it has none; `of_what` and `counted` say what the counts that follow belong to.
    virtual void begin(const char* counter, const Table* table, const std::string& of_what, const char* counted) = 0;
    // `words` is the library's description of the entry; empty if it has none.
    virtual void entry(const pd_counter_value& value, pd_entry handle, bool is_default, std::string_view words) = 0;
    virtual void cell(const pd_counter_value& value, uint32_t index) = 0;
    // The cells of the counter that are at 0 and were left out.
    virtual void idle_cells(uint32_t /*idle*/, uint32_t /*cells*/, bool /*there_may_be_more*/) {}
};

// Reads the counter or the table's counters that the query names, or all. Throws a Problem if there is none.
void read_counters(const Work& work, CountSink& sink);

} // namespace pd_views
