// What the generated functions of action profiles forward to.
#pragma once

#include "pd/groups.h"
#include "pd/members.h"
#include "pd/properties.h"
#include "pd_velmar/schema.h"
