// What the generated functions of counters, meters, registers, digests, value sets and hash calculations forward to.
#pragma once

#include "catalog/catalog.h"
#include "pd/counters.h"
#include "pd/digests.h"
#include "pd/hash.h"
#include "pd/meters.h"
#include "pd/registers.h"
#include "pd/value_sets.h"
