/*
 * The embedded driver for agents: what the platform code of a real driver does. It opens sessions, adds devices with
 * the pipelines that they run, saves and restores the state of devices and moves the clock. Everything else goes
 * through the driver boundary. behaviour.h describes the driver's choices there; traffic.h replaces packets.
 *
 * A device comes with a description, from which the driver knows the handles, widths and lengths of its pipeline.
 *
 * Callbacks run on the thread of the call that causes them. vl_driver/driver.h says what a callback may do and how a
 * registration ends. The same holds for log sinks. vl_model_reset ends all registrations. If a callback removes a
 * device, the digest messages of the device are gone at once, even if another callback still reads them.
 */
#ifndef VL_MODEL_CONTROL_H
#define VL_MODEL_CONTROL_H

#include <stdint.h>

#include "behaviour.h"
#include "traffic.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The status that functions of the boundary and of this driver's headers return. */
typedef enum vl_model_status {
    VL_MODEL_OK = 0,
    VL_MODEL_NO_MEMORY = 2,
    VL_MODEL_INVALID = 3, /* a null pointer, a handle of 0, a contradictory pipeline, text that is not JSON, a property
                             that no table has */
    VL_MODEL_UNKNOWN_SESSION = 4, /* never opened, or closed */
    VL_MODEL_UNKNOWN_DEVICE = 5,
    VL_MODEL_UNKNOWN_TABLE = 6,
    VL_MODEL_NOT_FOUND = 7, /* no such entry, member or group; none follows; placement data of an entry or member that
                               has changed or gone since */
    VL_MODEL_EXISTS = 8,
    VL_MODEL_TABLE_FULL = 9,
    VL_MODEL_FOREIGN_ACTION = 10, /* not an action of the table, or not for this kind of entry */
    VL_MODEL_BAD_KEY = 11,        /* not the table's key length, or a prefix longer than its field */
    VL_MODEL_BAD_DATA = 12,       /* not the action's data length, or not the kind of entry that the table has */
    VL_MODEL_IN_USE = 13,         /* a member of a group, or a member or group that an entry points at */
    VL_MODEL_NOT_SUPPORTED = 14,  /* an entry or a packet in a keyless table; idle time or a direct resource that the
                                     table doesn't have; an index for a direct resource */
    VL_MODEL_UNKNOWN_CLIENT = 16,
    VL_MODEL_GROUP_FULL = 17,
    VL_MODEL_UNKNOWN_RESOURCE = 18, /* counter, meter, WRED block, register, digest, value set or hash calculation */
    VL_MODEL_OUT_OF_RANGE = 19      /* an index at or above the cell count, a pipe that the device doesn't have */
} vl_model_status;

/* The name of a status without the prefix, and a phrase for people; "UNKNOWN" and "unknown status" for any other. */
const char* vl_model_status_name(uint32_t status);
const char* vl_model_status_text(uint32_t status);

/* Initialise the structs of the description by member name. Later versions may have more members, which may be 0. Then
 * compile the agent anew. */

/* A member that older descriptions don't have. The initialiser keeps C++ compilers from warning of its absence. In
 * C++11 it would keep the struct from being an aggregate. */
#if defined(__cplusplus) && __cplusplus >= 201402L
#define VL_MODEL_OPTIONAL(member)                                                                                      \
    member {}
#else
#define VL_MODEL_OPTIONAL(member) member
#endif

typedef struct vl_model_action {
    uint32_t handle;
    uint16_t data_bits; /* sum of the parameters' widths */
    uint16_t data_len;  /* sum of the parameters' whole bytes */
    uint8_t for_entries;
    uint8_t for_default;
} vl_model_action;

typedef enum vl_model_match {
    VL_MODEL_KEYLESS = 0, /* a default entry and no others */
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
    uint32_t initial_default; /* the action, with zero data, of the default entry after a reset; 0 for none */
    uint32_t resource_hdl;    /* the counter, meter or register of the table's entries; 0 for none */
    uint32_t data_table;      /* the table of members that entries point at; 0 in a direct table */
    uint32_t selector;        /* the table of groups of these members that entries point at, or 0 */
    uint8_t idle_time;        /* 1 if entries age */
    uint32_t capacity;        /* 0 for VL_MODEL_DEFAULT_CAPACITY */
    /* The bits of a key that the table matches, in key_len bytes; 0 for those of a partition. Null for all bits, even
     * above the width of a field. */
    const uint8_t* VL_MODEL_OPTIONAL(key_mask);
} vl_model_table;

#define VL_MODEL_DEFAULT_CAPACITY (UINT32_C(4) * 1024 * 1024)

/* A counter, meter, WRED block or register. A direct one has a cell for each entry of its table, and for the default
 * entry. */
typedef struct vl_model_resource {
    uint32_t handle;
    uint32_t match_table; /* of a direct resource; 0 for cells by index */
    uint32_t cell_count;  /* of cells by index; 0 for VL_MODEL_DEFAULT_CELLS */
} vl_model_resource;

#define VL_MODEL_DEFAULT_CELLS (UINT32_C(64) * 1024)

typedef struct vl_model_digest {
    uint32_t handle;
    uint32_t entry_size; /* bytes */
} vl_model_digest;

/* A calculation starts with this input and algorithm, a seed of 0 and no attributes. It has no other input, but may
 * take the algorithm of any calculation of the pipeline. The low byte of an algorithm is a vl_model_hash_algorithm. */
typedef struct vl_model_hash_calculation {
    uint32_t handle;
    uint32_t input;
    uint32_t algorithm;
} vl_model_hash_calculation;

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

/* Calls the device_remove callbacks of all clients, lowest priority number first, and then forgets the device. */
uint32_t vl_model_device_remove(uint32_t dev_id);

/* Session handles are above 0 and never reused. */
uint32_t vl_model_session_open(uint32_t* sess_hdl);
uint32_t vl_model_session_close(uint32_t sess_hdl);

/*
 * Calls the same callbacks as vl_model_device_remove, but keeps the device and its tables. This is how the driver sees
 * a restart of the agent.
 */
uint32_t vl_model_device_state_drop(uint32_t dev_id);

/*
 * Sets the number of the device's pipes. Their ids start at 0. A call with another pipe id is refused with
 * VL_MODEL_OUT_OF_RANGE.
 *
 * Tables, profiles, counters, meters and WRED blocks span all pipes. There a call for one pipe has the same effect as a
 * call for all pipes, and update callbacks get the pipe of the call. A register's cell has a value in each pipe: a read
 * for all pipes gives all of them, a read for one pipe gives one. A value set has a list of entries for each pipe, and
 * another list for all pipes. A snapshot sees the packets of one pipe or of all pipes.
 *
 * A new pipe starts with initial values in registers, and a removed pipe loses its values. Value sets and snapshots
 * keep what they have for a removed pipe.
 */
#define VL_MODEL_DEFAULT_PIPES 4
#define VL_MODEL_MOST_PIPES 64
uint32_t vl_model_device_set_pipes(uint32_t dev_id, uint32_t count);

/*
 * Moves the driver's clock, which starts at 0 and moves in no other way. Calls the time-out callback for each entry
 * that times out: in the order of these times, then by device, table and entry. Entries that an earlier callback has
 * removed or renewed are left out.
 */
uint32_t vl_model_clock_advance(uint32_t milliseconds);

/* 0, the initial value: a client logs a failed assertion and goes on. 1: it stops the process. */
void vl_model_debug_mode_set(int on);

/* The levels of log lines, the most severe first. */
typedef enum vl_model_log_level {
    VL_MODEL_LOG_CRITICAL = 1,
    VL_MODEL_LOG_ERROR = 2,
    VL_MODEL_LOG_WARNING = 3,
    VL_MODEL_LOG_INFO = 4,
    VL_MODEL_LOG_DEBUG = 5
} vl_model_log_level;

/* `line` has no line end and is valid during the call only. Any thread may call a sink. */
typedef void (*vl_model_log_sink)(int module, int level, const char* line, void* cookie);

/* Null restores the initial sink, which writes lines to stderr. */
void vl_model_log_sink_set(vl_model_log_sink sink, void* cookie);

/*
 * Returns the state that the clients keep for a device: JSON text with one object for each client, under its name. The
 * caller frees the text with free(). Returns null if the device is unknown or memory runs out.
 */
char* vl_model_state_log(uint32_t dev_id);

/*
 * Passes the objects of such a text to the clients with the same names. Clients without an object are not called.
 * Returns the first client status other than 0.
 */
uint32_t vl_model_state_restore(uint32_t dev_id, const char* json);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
