#include "Notices.h"
