/*
 * The whole driver boundary: all functions of the driver that this library calls. These headers say what the library
 * relies on in any driver. Everything else is the driver's choice. vl_model/behaviour.h describes the choices of the
 * embedded driver.
 *
 * Threads
 *
 * The library has no lock and no thread, but its callers may have several threads. So any functions of these headers
 * may run at once, even for the same session, device, table or entry. To other threads each call is one step, except
 * for the callbacks that it makes.
 *
 * A callback may come on the thread of the call that causes it or on a thread of the driver, and on several threads at
 * once. If several threads make changes at once, the driver may report these in any order. It holds no lock while a
 * callback runs, so a callback may call any function of these headers. A p4_pd_ms_grp_fn is called only during the call
 * that passes it. A pipe_sync_cb or pipe_idle_hit_state_cb is called once, during that call or later. If the driver
 * refuses the call, it doesn't call the callback.
 *
 * All other callbacks are registered. A registration ends when the client deregisters, when null or another callback
 * takes its place, or when its device goes away. The call that ends a registration returns when the callback no longer
 * runs on any thread and will not be called again. Then the caller may free the cookie. The caller must not hold a lock
 * that the callback takes. From within any callback, a call that ends a registration returns at once, because two
 * callbacks could wait for each other. The driver doesn't call the ended callback again, but the callback may still be
 * running.
 *
 * Devices may come and go while other threads make calls. The driver refuses a call for a device that it doesn't have.
 * To remove a device, it calls the device_remove callbacks of all clients. When they have returned, the device goes
 * away with its digest messages.
 */
#ifndef VL_DRIVER_DRIVER_H
#define VL_DRIVER_DRIVER_H

#include "digests.h"
#include "hash.h"
#include "idle.h"
#include "member_shadow.h"
#include "placement.h"
#include "profiles.h"
#include "registers.h"
#include "resources.h"
#include "snapshot.h"
#include "system.h"
#include "tables.h"
#include "types.h"
#include "value_sets.h"

#endif
