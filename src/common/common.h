// The foundation in one include: integer type, accounted memory, vectors, lists.
#pragma once

#include "common/long_list.h"
#include "common/memory.h"
#include "common/types.h"
#include "common/vector.h"
