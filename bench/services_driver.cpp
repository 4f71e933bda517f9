// A driver that does next to nothing for services that build or unpack lists. Memory costs only its clearing, and a
// read says that all cells were read. To compare callers it also gives answers: cells when a read asks the hardware,
// and the whole stream as the hash if there is room for it.
#include <cstdint>
#include <cstring>

#include "vl_driver/hash.h"
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
