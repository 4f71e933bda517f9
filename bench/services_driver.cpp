// A driver that is as good as none for the services that build or unpack lists: memory costs its clearing, and reads
// say that all was read. Only to compare what callers do with its answers does it give any: cells if it is to ask the
// hardware, and as a hash the whole stream if there is room.
#include <cstdint>
#include <cstring>

#include "vl_driver/hash.h"
#include "vl_driver/member_shadow.h"
#include "vl_driver/registers.h"
#include "vl_driver/system.h"

namespace {

// Two lists at a time, as large as the benchmark wants them.
constexpr size_t list_size = 1 << 17;
alignas(16) uint8_t lists[2][list_size];
unsigned next_list;

} // namespace

void* bf_sys_calloc(size_t count, size_t size) {
    uint8_t* const list = lists[next_list++ % 2];
    return count * size <= list_size ? std::memset(list, 0, count * size) : nullptr;
}

void bf_sys_free(void*) {}

pipe_status pipe_mgr_hash_calc_calculate_hash_value(pipe_sess_hdl, pipe_dev_id, pipe_hash_hdl, const uint8_t* stream,
                                                    uint32_t stream_len, uint8_t* hash, uint32_t hash_len) {
    if (hash_len < stream_len)
        *hash = *stream;
    else
        std::memcpy(hash, stream, stream_len);
    return 0;
}

pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, int32_t* size) {
    *size = 4;
    return 0;
}

pipe_status pipe_stful_ent_query_range(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, uint32_t, int32_t count,
                                       pipe_stful_query* queries, uint32_t* cells_read, uint32_t from_hw) {
    if (from_hw != 0)
        for (int32_t i = 0; i < count; ++i) {
            queries[i].count -= i % 3 == 0;
            for (uint32_t j = 0; j < queries[i].count; ++j) {
                const uint32_t value = static_cast<uint32_t>(i) * 0x10001 + j;
                std::memcpy(queries[i].elements[j].bytes, &value, sizeof value);
            }
        }
    *cells_read = static_cast<uint32_t>(count);
    return 0;
}

// The library takes this one's address when it is loaded.
pipe_status p4_pd_ms_grp_update_res(pipe_dev_id, pipe_grp_hdl, pipe_mbr_hdl, void*) {
    return 0;
}
