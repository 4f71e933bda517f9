// The placement data that is given out. A blob isn't memory: its address is made of the number of a place here and the
// number of that place's use. So an entry needs four bytes for it, and an outdated blob is recognised safely. Callers
// hold the model's mutex.
#pragma once

#include <cstdint>
#include <deque>

#include <vl_driver/types.h>

namespace vl_model {

// The row of a blob, in a match table, data table or selector.
struct Placement {
    pipe_dev_id dev_id;
    pipe_tbl_hdl tbl_hdl; // 0 in a free place
    uint32_t handle;      // in a free place the next free one
    uint32_t use;
};

class PlacementStore {
public:
    // Returns a number above 0, which the row keeps.
    uint32_t add(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, uint32_t handle);
    void remove(uint32_t number);
    void remove_device(pipe_dev_id dev_id);

    const void* blob(uint32_t number) const;
    // Null if the blob isn't valid, or isn't a blob.
    const Placement* find(const void* blob) const;

private:
    std::deque<Placement> places_; // number n at n - 1
    uint32_t first_free_ = 0;
};

} // namespace vl_model
