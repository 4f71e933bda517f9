/*
 * The whole driver boundary: all functions of the driver that this library calls. These headers say what the library
 * relies on in any driver. Everything else is the driver's choice. vl_model/behaviour.h describes the choices of the
 * embedded driver.
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
