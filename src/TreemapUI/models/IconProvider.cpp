#include "IconProvider.h"
