// Binder NDK process API: the thread pool that serves incoming work and death notifications.
#pragma once

#include <android/binder_status.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Idempotent: the first call starts the pool.
void ABinderProcess_startThreadPool(void);
// Extra threads the pool may start on demand (default 15). Call before startThreadPool.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);
bool ABinderProcess_isThreadPoolStarted(void);
// The calling thread serves the pool; it does not return.
void ABinderProcess_joinThreadPool(void);

__END_DECLS
