/*
 * The agent's side of the embedded driver: what a real driver's platform code would do. It opens sessions, adds devices
 * with the pipeline that they run, keeps the device state over a restart, replays it, moves the clock and damages the
 * hardware. All else goes through the driver boundary.
 *
 * The driver knows a pipeline by handles, widths and lengths alone, from the description that comes with a device.
 *
 * Callbacks run without a lock, on the thread whose call is their reason. A call that ends a registration returns when
 * the callback doesn't run any more and will not be called: then the agent may free its cookie. Deregistering ends one,
 * and so do registering null or another callback, removing the device and vl_model_reset. An agent that makes such a
 * call must not hold a lock that the callback takes.
 *
 * Within any callback of the driver, such a call returns at once. A callback may so end its own registration, and two
 * never wait for each other; but what has ended may still run on other threads, and the messages of a device that is
 * removed there are gone at once.
 */
#ifndef VL_MODEL_CONTROL_H
#define VL_MODEL_CONTROL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* What calls of the boundary and of this driver's headers return. */
typedef enum vl_model_status {
    VL_MODEL_OK = 0,
    VL_MODEL_NO_MEMORY = 2,
    VL_MODEL_INVALID = 3, /* a null pointer, a handle of 0, a contradictory pipeline, text that is no JSON, a property
                             that no table has */
    VL_MODEL_UNKNOWN_SESSION = 4, /* never opened, or closed */
    VL_MODEL_UNKNOWN_DEVICE = 5,
    VL_MODEL_UNKNOWN_TABLE = 6,
    VL_MODEL_NOT_FOUND = 7, /* no such entry, member or group; or none follows; or placement data whose entry or
                               member changed or went away after it was fetched */
    VL_MODEL_EXISTS = 8,
    VL_MODEL_TABLE_FULL = 9,
    VL_MODEL_FOREIGN_ACTION = 10, /* not an action of the table, or not for this kind of entry */
    VL_MODEL_BAD_KEY = 11,        /* not the table's key length; or a prefix longer than its field */
    VL_MODEL_BAD_DATA = 12,       /* not the action's data length, or not what the table's entries point at */
    VL_MODEL_IN_USE = 13,         /* a member in a group, or what an entry points at */
    VL_MODEL_NOT_SUPPORTED = 14, /* a keyless table has no entries, and not every table's entries age or have a counter,
                                     meter or register; those that they have are not addressed by index */
    VL_MODEL_UNKNOWN_CLIENT = 16,
    VL_MODEL_GROUP_FULL = 17,
    VL_MODEL_UNKNOWN_RESOURCE = 18, /* counter, meter, WRED block, register, digest, value set or hash calculation */
    VL_MODEL_OUT_OF_RANGE = 19      /* an index at or above the cell count, a pipe that the device doesn't have */
} vl_model_status;

/* The enumerator's name without its prefix, and a phrase for people. A foreign value: "UNKNOWN", "unknown status". */
const char* vl_model_status_name(uint32_t status);
const char* vl_model_status_text(uint32_t status);

/* Initialise the description's structs by member name: later versions may have more members, for which zero is a good
 * value. */

typedef struct vl_model_action {
    uint32_t handle;
    uint16_t data_bits; /* sum of the parameters' widths */
    uint16_t data_len;  /* sum of the parameters' whole bytes */
    uint8_t for_entries;
    uint8_t for_default;
} vl_model_action;

typedef enum vl_model_match {
    VL_MODEL_KEYLESS = 0, /* has a default entry only */
    VL_MODEL_EXACT = 1,
    VL_MODEL_TERNARY = 2,
    VL_MODEL_PREFIX = 3
} vl_model_match;

typedef struct vl_model_table {
    uint32_t handle;
    const char* name;
    vl_model_match match;
    uint16_t key_bits; /* sum of the key fields' widths */
    uint16_t key_len;  /* sum of the key fields' whole bytes */
    const vl_model_action* actions;
    uint32_t action_count;
    uint32_t initial_default; /* action of the default entry that a reset brings back, with zero data; 0 for none */
    uint32_t resource_hdl;    /* the counter, meter or register of the table's entries; 0 for none */
    uint32_t data_table;      /* the table of members that entries point at; 0 in a direct table */
    uint32_t selector;        /* the table of groups of these members that entries point at, or 0 */
    uint8_t idle_time;        /* 1 if entries age */
    uint32_t capacity;        /* 0 for VL_MODEL_DEFAULT_CAPACITY */
} vl_model_table;

#define VL_MODEL_DEFAULT_CAPACITY (UINT32_C(4) * 1024 * 1024)

/* Properties of a table or a value set have the numbers from 1 to this. Each starts with value and arguments 0. */
#define VL_MODEL_PROPERTIES 8

/* A selector's memory consists of words of this many slots. Position p is slot p % 32 of word p / 32. */
#define VL_MODEL_SELECTOR_WORD_SLOTS 32

/* A counter, meter, WRED block or register. */
typedef struct vl_model_resource {
    uint32_t handle;
    uint32_t match_table; /* has a cell for each entry of this table, the default entry too; 0 for cells by index */
    uint32_t cell_count;  /* of cells by index; 0 for VL_MODEL_DEFAULT_CELLS */
} vl_model_resource;

#define VL_MODEL_DEFAULT_CELLS (UINT32_C(64) * 1024)

typedef struct vl_model_digest {
    uint32_t handle;
    uint32_t entry_size; /* bytes */
} vl_model_digest;

/*
 * The algorithms of hash calculations, by the low byte of their handles. The hash is one number, of which a reader gets
 * the low bytes, most significant first. A CRC goes on from the seed (CRC-32 from its low 32 bits) as from the checksum
 * of bytes in front of the stream, so that a seed of 0 gives the CRC as everybody knows it. The attributes of input
 * fields are kept and change nothing.
 */
typedef enum vl_model_hash_algorithm {
    VL_MODEL_HASH_IDENTITY = 0, /* the stream itself, exclusive or the seed */
    VL_MODEL_HASH_CRC64 = 1,    /* of ECMA-182, reflected: CRC-64/XZ */
    VL_MODEL_HASH_CRC32 = 2     /* of IEEE 802.3 */
} vl_model_hash_algorithm;

/* At first a calculation has this input and algorithm, a seed of 0 and no attributes. It has no other input, but may
 * take the algorithm of any calculation of the pipeline. */
typedef struct vl_model_hash_calculation {
    uint32_t handle;
    uint32_t input;
    uint32_t algorithm;
} vl_model_hash_calculation;

/* A member that older descriptions don't have. Compilers of C++ would warn of its absence. C++11 can't initialise a
 * record that has such members. */
#if defined(__cplusplus) && __cplusplus >= 201402L
#define VL_MODEL_OPTIONAL(member)                                                                                      \
    member {}
#else
#define VL_MODEL_OPTIONAL(member) member
#endif

typedef struct vl_model_pipeline {
    const char* name;
    const vl_model_table* tables;
    uint32_t table_count;
    const vl_model_resource* VL_MODEL_OPTIONAL(counters);
    uint32_t VL_MODEL_OPTIONAL(counter_count);
    const vl_model_resource* VL_MODEL_OPTIONAL(meters);
    uint32_t VL_MODEL_OPTIONAL(meter_count);
    const vl_model_resource* VL_MODEL_OPTIONAL(wred_blocks); /* by index only */
    uint32_t VL_MODEL_OPTIONAL(wred_block_count);
    const vl_model_resource* VL_MODEL_OPTIONAL(registers);
    uint32_t VL_MODEL_OPTIONAL(register_count);
    const vl_model_digest* VL_MODEL_OPTIONAL(digests);
    uint32_t VL_MODEL_OPTIONAL(digest_count);
    const uint32_t* VL_MODEL_OPTIONAL(value_sets); /* ids */
    uint32_t VL_MODEL_OPTIONAL(value_set_count);
    const vl_model_hash_calculation* VL_MODEL_OPTIONAL(hash_calculations);
    uint32_t VL_MODEL_OPTIONAL(hash_calculation_count);
} vl_model_pipeline;

/* Adds a device that runs the pipeline. The description is copied. */
uint32_t vl_model_device_add(uint32_t dev_id, const vl_model_pipeline* pipeline);

/* Tells all clients that the device goes away, lowest priority number first, and then forgets it with all it holds. */
uint32_t vl_model_device_remove(uint32_t dev_id);

/* Handles are above 0 and never reused. */
uint32_t vl_model_session_open(uint32_t* sess_hdl);
uint32_t vl_model_session_close(uint32_t sess_hdl);

/*
 * Tells all clients that the device goes away, as vl_model_device_remove does, but keeps its tables: what a restart of
 * the agent looks like to the driver.
 */
uint32_t vl_model_device_state_drop(uint32_t dev_id);

/*
 * Sets how many pipes the device has. Their ids count from 0; a call that names another is refused with
 * VL_MODEL_OUT_OF_RANGE.
 *
 * Tables, profiles, counters, meters and WRED blocks span all pipes: there a call for one pipe does what it does for
 * all, and its update callbacks are told of the pipe that it named. A register's cell has a value in each pipe, so that
 * a read yields as many for a target of all pipes, and one for any other. A value set has a list of entries for each
 * pipe, and one more for all pipes. A snapshot sees the packets of one pipe or of all.
 *
 * A pipe that is added has initial values in registers, and one that is taken away loses them. Value sets and snapshots
 * keep what they have of it.
 */
#define VL_MODEL_DEFAULT_PIPES 4
#define VL_MODEL_MOST_PIPES 64
uint32_t vl_model_device_set_pipes(uint32_t dev_id, uint32_t count);

/* Of a match, data or selector table. Entries, members and groups above a lowered capacity stay. */
uint32_t vl_model_table_set_capacity(uint32_t dev_id, uint32_t tbl_hdl, uint32_t capacity);

/*
 * Moves the driver's clock, which starts at 0 and moves in no other way, and calls the time-out callbacks of the
 * entries that run out of time on the way: in the order in which they do, then by device, table and entry. An entry
 * that an earlier callback removed or renewed is not named any more.
 */
uint32_t vl_model_clock_advance(uint32_t milliseconds);

/* A packet hits the entry. Without effect while the table's idle time is off. */
uint32_t vl_model_entry_hit(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl);

typedef enum vl_model_damage {
    VL_MODEL_LOST = 0, /* the hardware has no such entry any more */
    VL_MODEL_KEY_BIT = 1,
    VL_MODEL_MASK_BIT = 2,
    VL_MODEL_DATA_BIT = 3,  /* of the action data */
    VL_MODEL_MEMBER_BIT = 4 /* of the handle of the member that the entry points at */
} vl_model_damage;

/* What became of an entry's hardware. */
typedef struct vl_model_corruption {
    uint32_t tbl_hdl;
    uint32_t ent_hdl;
    vl_model_damage what;
    uint32_t bit; /* flipped: bit % 8 of byte bit / 8, where bit 0 is the lowest; of a handle the bit itself */
} vl_model_corruption;

/*
 * Loses entries of the device's match tables, or flips a random bit of them, in hardware only: `count` random ones, or
 * as many as there are, of those whose hardware is as the software wrote it. Default entries stay whole. `corrupted`
 * has room for `count` and tells of each by table and entry, `corrupted_count` how many they are. The same entries,
 * seed and count give the same damage. The next change of an entry by the software writes its hardware anew.
 */
uint32_t vl_model_hardware_corrupt(uint32_t dev_id, uint64_t seed, uint32_t count, vl_model_corruption* corrupted,
                                   uint32_t* corrupted_count);

/* A row of a replay, as pipe_adt_sel_restore_cb takes it. */
typedef struct vl_model_row {
    uint32_t sess_hdl;
    uint32_t dev_id;
    uint32_t data_table;
    uint32_t act_hdl;
    uint32_t grp_hdl;
    uint32_t mbr_hdl;
    uint32_t resource_count;
} vl_model_row;

/*
 * Hands a row to the callback of the last restore, which the driver keeps, whatever its tables hold. No restore since
 * the start: VL_MODEL_NOT_FOUND.
 */
uint32_t vl_model_replay_row(const vl_model_row* row);

/* 1 makes a client that breaks an assertion stop the process, 0 (the start value) makes it log and go on. */
void vl_model_debug_mode_set(int on);

/* The levels of log lines, in the order of falling weight. */
typedef enum vl_model_log_level {
    VL_MODEL_LOG_CRITICAL = 1,
    VL_MODEL_LOG_ERROR = 2,
    VL_MODEL_LOG_WARNING = 3,
    VL_MODEL_LOG_INFO = 4,
    VL_MODEL_LOG_DEBUG = 5
} vl_model_log_level;

/* `line` has no line end, and is valid during the call only. A sink may be called from any thread. */
typedef void (*vl_model_log_sink)(int module, int level, const char* line, void* cookie);

/* Null brings back the sink of the start, which writes a line to stderr. */
void vl_model_log_sink_set(vl_model_log_sink sink, void* cookie);

/*
 * The state that the clients keep for a device, as JSON text with one object per client, under the client's name.
 * The caller frees the text with free(). Null if the device is unknown or memory is short.
 */
char* vl_model_state_log(uint32_t dev_id);

/*
 * Hands the objects of such a text back to the clients of the same names; a client that the text doesn't have is not
 * called. Returns the first status of a client that is not 0.
 */
uint32_t vl_model_state_restore(uint32_t dev_id, const char* json);

/*
 * Forgets devices, sessions, clients, member-selector content, log sink, debug mode, armed faults, the time and the
 * callback of the last restore, without a call to anybody. Memory that clients have, and their member-selector states,
 * stay valid.
 */
void vl_model_reset(void);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
