// What the generated functions of the program as a whole forward to.
#pragma once

#include "pd/action_names.h"
#include "pd/lifecycle.h"
#include "pd/resources.h"
#include "pd/restore.h"
#include "pd/snapshot.h"
#include "pd_velmar/addresses.h"
#include "pd_velmar/by_handle.h"
#include "pd_velmar/digest_fields.h"
#include "pd_velmar/dispatch.h"
#include "pd_velmar/generic_meters.h"
