/*
 * The whole driver boundary: all functions that this library calls outside itself and libc.
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
