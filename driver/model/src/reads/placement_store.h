// The placement data that is given out. A blob is no memory but the number of a place here and of the use of that
// place, made an address: an entry pays four bytes for it, and one that isn't valid any more is known without a look at
// what it leads to. Callers hold the model's mutex.
#pragma once

#include <cstdint>
#include <deque>

#include <vl_driver/types.h>

namespace vl_model {

// The row that a blob stands for, in a match table, data table or selector.
struct Placement {
    pipe_dev_id dev_id;
    pipe_tbl_hdl tbl_hdl; // 0 in a free place
    uint32_t handle;      // in a free place the next free one
    uint32_t use;
};

class PlacementStore {
public:
    // Gives a number for the row to keep, never 0.
    uint32_t add(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, uint32_t handle);
    void remove(uint32_t number);
    void remove_device(pipe_dev_id dev_id);
    void remove_all();

    const void* blob(uint32_t number) const;
    // Null if the blob isn't valid, or anything but a blob.
    const Placement* find(const void* blob) const;

private:
    std::deque<Placement> places_; // number n at n - 1
    uint32_t first_free_ = 0;
};

} // namespace vl_model
