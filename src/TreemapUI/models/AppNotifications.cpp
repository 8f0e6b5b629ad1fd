#include "AppNotifications.h"
