#include "StorageBreakdown.h"
