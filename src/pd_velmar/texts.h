// What the generated functions of texts, and of actions, forward to.
#pragma once

#include "pd_velmar/comparison.h"
#include "pd_velmar/counter_descriptions.h"
#include "pd_velmar/print.h"
#include "pd_velmar/schema.h"
#include "pd_velmar/value.h"
