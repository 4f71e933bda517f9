// What the generated functions of whole tables forward to.
#pragma once

#include "pd/defaults.h"
#include "pd/idle.h"
#include "pd/properties.h"
