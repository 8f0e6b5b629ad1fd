#include "MacHealth.h"
