#pragma once
// Every thread the app starts has a name a person can find in a debugger or
// in /proc/PID/task/*/comm; the kernel keeps 15 characters.

#include <pthread.h>

namespace tessel {

inline void nameThisThread(const char* name) { pthread_setname_np(pthread_self(), name); }

} // namespace tessel
