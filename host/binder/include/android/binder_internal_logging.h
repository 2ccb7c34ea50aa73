// Logging support for the binder NDK C++ headers: syslog, without clobbering liblog's LOG_PRI.
#pragma once

#pragma push_macro("LOG_PRI")
#ifdef LOG_PRI
#undef LOG_PRI
#endif
#include <syslog.h>
#ifdef LOG_PRI
#undef LOG_PRI
#endif
#pragma pop_macro("LOG_PRI")
