// Binder NDK shell-command hook for binder classes.
#pragma once

#include <android/binder_ibinder.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

typedef binder_status_t (*AIBinder_handleShellCommand)(AIBinder* binder, int in, int out, int err,
                                                       const char** argv, uint32_t argc);

void AIBinder_Class_setHandleShellCommand(AIBinder_Class* clazz,
                                          AIBinder_handleShellCommand handleShellCommand)
    __INTRODUCED_IN(30);

__END_DECLS
