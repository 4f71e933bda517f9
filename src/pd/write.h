// What the generated functions that write entries forward to.
#pragma once

#include "pd/entries.h"
#include "pd/indirect.h"
