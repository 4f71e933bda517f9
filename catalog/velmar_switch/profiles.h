// The action profiles with their selectors. Their shadow states are created and logged in this order.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;

// clang-format off
inline constexpr Profile profiles[] = {
    {.name = "mirrorLagPortActionProfile",
     .data_table = 0x2000019,
     .selector = 0x3000001,
     .table = "ingressMirrorLagGroup",
     .actions = {{"setLagMemberSelector", 0x200000cd},
                 {"NoAction", 0x200000ce}}},
    {.name = "ecmpMemberActionProfile",
     .data_table = 0x200001a,
     .selector = 0x3000002,
     .table = "ecmpGroup",
     .actions = {{"setEcmpNextHop", 0x200000b5},
                 {"NoAction", 0x200000b6}}},
    {.name = "egrMirrorLagPortActionProfile",
     .data_table = 0x2000030,
     .selector = 0x3000005,
     .table = "egressMirrorLagGroup",
     .actions = {{"setEgrLagMemberSelector", 0x20000127},
                 {"NoAction", 0x20000128}}},
    {.name = "tunnelMemberActionProfile",
     .data_table = 0x2000023,
     .selector = 0x3000003,
     .table = "tunnelResolve",
     .actions = {{"setTunnelEgressInfo", 0x200000da},
                 {"NoAction", 0x200000db}}},
    {.name = "lagPortActionProfile",
     .data_table = 0x2000027,
     .selector = 0x3000004,
     .table = "lagGroup",
     .actions = {{"setLagPort", 0x200000fc},
                 {"setPhysicalPort", 0x200000fd},
                 {"setTunnelInfo", 0x200000fe},
                 {"invalidateUcastEgressPort", 0x200000ff},
                 {"fixL2SubintfAlignment", 0x20000100}}},
};
// clang-format on

} // namespace velmar_switch
