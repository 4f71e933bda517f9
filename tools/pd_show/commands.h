// What pd-show can do. Names that aren't known are a Problem; what can't be read is a complaint, and the rest is shown.
#pragma once

#include "pd_show/library.h"
#include "pd_show/output.h"
#include "pd_show/pipeline.h"
#include "pd_show/problem.h"

namespace pd_show {

struct Work {
    const Arguments& arguments;
    const Place& place;
    const Pipeline& pipeline;
    Output& out;
    Complaints& complaints;
};

void show_tables(const Work& work);
void show_table(const Work& work);
void show_entries(const Work& work);
void show_counters(const Work& work);

// Loses or flips bits of as many entries as --corrupt says, in the embedded driver's hardware, and tells of each.
void corrupt_hardware(const Work& work);
// Whether the hardware holds all entries as the driver placed them.
bool verify(const Work& work);

} // namespace pd_show
