// The public header from C++, by itself: it needs no other include, and collides with nothing that an agent may have
// included before it.
#include <arpa/inet.h>
#include <sys/socket.h>

#include "vl_pd/velmar_switch.h"

#include <type_traits>

static_assert(noexcept(p4_pd_velmar_switch_init()));
static_assert(sizeof(pd_dev_tgt) == 8 && std::is_standard_layout_v<p4_pd_velmar_switch_trapToCpu_match_spec_t>);
