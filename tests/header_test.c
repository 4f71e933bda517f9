/* The public header from C: it compiles as C11 with all warnings, and a C agent can program and read an entry. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "vl_model/control.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

_Static_assert(offsetof(p4_pd_velmar_switch_ipv6Host_match_spec_t, ingIpv6_dip) == 2, "even offset");
_Static_assert(sizeof(((p4_pd_velmar_switch_ecmpGroup_match_spec_t*)0)->l3_nextHop) == 4, "32 bits in the record");

#define REQUIRE(condition)                                                                                             \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            printf("header_test.c:%d: %s doesn't hold\n", __LINE__, #condition);                                       \
            return 1;                                                                                                  \
        }                                                                                                              \
    } while (0)

int main(void) {
    const pd_device device = 0;
    const pd_dev_tgt target = {.dev_id = device, .pipe_id = PD_ALL_PIPES};
    pd_session session;
    p4_pd_velmar_switch_init();
    REQUIRE(vl_model_device_add(device, &velmar_switch_pipeline) == VL_MODEL_OK);
    REQUIRE(vl_model_session_open(&session) == VL_MODEL_OK);

    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 1, .ingIpv4_dip = 0x0A000001};
    p4_pd_velmar_switch_setNextHop_action_spec_t hop = {.action_nextHop = 5};
    pd_entry entry;
    const pd_status added = p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, target, &key, &hop, &entry);
    REQUIRE(added == PD_STATUS_OK);

    char name[61];
    uint32_t action;
    uint8_t is_default;
    memset(&key, 0, sizeof key);
    memset(&hop, 0, sizeof hop);
    REQUIRE(p4_pd_velmar_switch_ipv4Host_get_entry(session, device, entry, 0, &key, name, &hop, &action, &is_default) ==
            PD_STATUS_OK);
    REQUIRE(key.ingIpv4_dip == 0x0A000001 && hop.action_nextHop == 5 && !is_default);
    REQUIRE(action == p4_pd_velmar_switch_action_setNextHop);
    REQUIRE(strcmp(name, p4_pd_velmar_switch_action_name_strings[action]) == 0);
    REQUIRE(p4_pd_velmar_switch_cleanup() == PD_STATUS_OK);
    return 0;
}
