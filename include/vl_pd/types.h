/*
 * The types that every exported function shares.
 *
 * All integers are in the machine's byte order, in records and in arguments. Values of 128 bits are byte arrays in
 * network order. An argument that needs fewer than 32 bits is declared with 32; its upper bits never matter.
 */
#ifndef VL_PD_TYPES_H
#define VL_PD_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
#define PD_BEGIN_DECLS                                                                                                 \
    extern "C" {                                                                                                       \
    _Pragma("GCC visibility push(default)")
#define PD_END_DECLS                                                                                                   \
    _Pragma("GCC visibility pop")                                                                                      \
    }
#define PD_NOEXCEPT noexcept
#else
#define PD_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define PD_END_DECLS _Pragma("GCC visibility pop")
#define PD_NOEXCEPT
#endif

/* 0 is success. The library itself returns the errors below. All other values come unchanged from the driver. */
typedef uint32_t pd_status;

enum {
    PD_STATUS_OK = 0,
    PD_STATUS_NO_MEMORY = 2,  /* an allocation failed */
    PD_STATUS_INVALID = 3,    /* an unknown enumeration value, placement data with an unknown action, or a hash
                                 calculation's setting that can't be read or isn't the pipeline's */
    PD_STATUS_UNEXPECTED = 15 /* the driver's answer can't come from this pipeline */
};
/* An operation names an action that isn't the member's, or a handle that belongs to no profile. */
#define PD_STATUS_MISMATCH UINT32_C(0xFFFFFFFF)

/** Says in words what a status of the library means. All other statuses are "status of the driver". A driver may use
 *  the library's numbers, too. */
static inline const char* pd_status_text(pd_status status) PD_NOEXCEPT {
    switch (status) {
    case PD_STATUS_OK:
        return "success";
    case PD_STATUS_NO_MEMORY:
        return "out of memory";
    case PD_STATUS_INVALID:
        return "invalid argument, placement data or hash setting";
    case PD_STATUS_UNEXPECTED:
        return "the driver's answer can't come from this pipeline";
    case PD_STATUS_MISMATCH:
        return "another action, or unknown handle of a profile";
    default:
        return "status of the driver";
    }
}

typedef uint32_t pd_session; /* opened by the agent with the driver */
typedef uint32_t pd_device;
typedef uint32_t pd_entry;  /* an entry of a table, made by the driver */
typedef uint32_t pd_member; /* a member of an action profile, made by the driver; 0 is none */
typedef uint32_t pd_group;  /* a selector group, made by the driver; 0 is none */

/* Ends a list of handles in the walking functions. */
#define PD_HDL_END UINT32_C(0xFFFFFFFF)

#define PD_ALL_PIPES UINT16_C(0xFFFF)

/* A device and one of its pipes. It goes to the driver unchanged. */
typedef struct pd_dev_tgt {
    pd_device dev_id;
    uint16_t pipe_id; /* PD_ALL_PIPES for all of them */
    uint16_t reserved;
} pd_dev_tgt;

/* A 128-bit value, most significant byte first. In a record it begins at an even offset. If the field before it ends at
 * an odd offset, a reserved byte comes between them. */
typedef uint8_t pd_bytes16[16];

enum { PD_METER_TYPE_COLOR_AWARE = 0, PD_METER_TYPE_COLOR_UNAWARE = 1 };

/* A two-rate meter. The driver defines the scale of rates and bursts. */
typedef struct pd_meter_spec {
    uint32_t committed_rate;
    uint32_t committed_burst;
    uint32_t peak_rate;
    uint32_t peak_burst;
    uint32_t meter_type; /* PD_METER_TYPE_... */
} pd_meter_spec;

/* The cell of a resource that an entry's action uses. There is one pair for each attached resource slot. */
typedef struct pd_resource_index {
    uint32_t resource_hdl;
    uint32_t index;
} pd_resource_index;

/* The value of an index parameter if the driver reports an entry without an attached resource. */
#define PD_NO_INDEX UINT32_C(0xFFFF)

/*
 * A callback goes to the driver unchanged. The driver calls it and defines its type; the program's header lists these
 * types. Cast a callback to pd_driver_callback, as in (pd_driver_callback)on_timeout.
 */
typedef void (*pd_driver_callback)(void);

/*
 * An action with its parameters: the action's number, then its action_spec record from byte 4 on. It has room for any
 * action of the pipeline.
 */
typedef struct pd_action_record {
    uint32_t action_id;
    uint32_t spec[11];
} pd_action_record;

/* How a table ages its entries. In modes other than 1, only mode counts. The driver defines what the values mean. */
typedef struct pd_idle_params {
    uint32_t mode;
    uint64_t params_a;
    uint32_t params_b;
    uint64_t params_c;
    uint64_t params_d;
    uint8_t params_flag; /* never sent, and read as 0 */
} pd_idle_params;

/* A counter cell. The driver defines which count is packets and which is bytes. */
typedef struct pd_counter_value {
    uint64_t count_a;
    uint64_t count_b;
} pd_counter_value;

/* Passed through unchanged. The driver defines its content. */
typedef struct pd_wred_spec {
    uint64_t words[2];
} pd_wred_spec;

/* A register cell that holds two words. */
typedef struct pd_register_pair {
    uint32_t first;
    uint32_t second;
} pd_register_pair;

/* A register cell as the driver holds it. */
typedef struct pd_register_value {
    uint8_t bytes[16];
} pd_register_value;

/* Where the entries of a parser value set live. */
typedef struct pd_pvs_target {
    pd_device dev_id;
    uint32_t gress;
    uint32_t pipe;
    uint8_t parser;
} pd_pvs_target;

/*
 * An attribute of one input field of a hash calculation. Fields and types are the driver's numbers. For
 * calculate_hash_value, attr_value is the value of a field of up to 32 bits. For a wider field, attr_bytes is the
 * address of its bytes, most significant first.
 */
typedef struct pd_hash_attribute {
    uint32_t input_field;
    uint32_t attr_type;
    union {
        uint32_t attr_value;
        const uint8_t* attr_bytes;
    };
} pd_hash_attribute;

#define PD_SNAPSHOT_RECORD_SIZE 676
#define PD_SNAPSHOT_MAX_STAGES 20

/* The values or masks of a snapshot trigger in the machine's byte order, or one stage of a capture. */
typedef struct pd_snapshot_record {
    uint8_t bytes[PD_SNAPSHOT_RECORD_SIZE];
} pd_snapshot_record;

/* States of a member in its group. An inactive member stays in the group, but takes no packets. */
enum { P4_PD_GRP_MBR_STATE_ACTIVE = 0, P4_PD_GRP_MBR_STATE_INACTIVE = 1 };

/* The driver's records. Agents that decode them find their definitions in the driver's headers. */
struct pipe_match_record;
struct pipe_action_data;
struct pipe_stful_element;
struct pipe_stful_query;
struct bf_snapshot_capture_ctrl;

#endif
