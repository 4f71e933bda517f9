// What the generated functions of action profiles forward to.
#pragma once

#include "pd/groups.h"
#include "pd/members.h"
#include "pd/placement.h"
#include "pd/properties.h"
#include "pd_velmar/placement_text.h"
#include "pd_velmar/schema.h"
