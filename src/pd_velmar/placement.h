// What the generated functions of placement data forward to.
#pragma once

#include "pd/placement.h"
#include "pd_velmar/comparison.h"
#include "pd_velmar/placement_text.h"
