// Binder NDK service manager API: registering and looking up services by instance name.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

enum AServiceManager_AddServiceFlag {
    ADD_SERVICE_ALLOW_ISOLATED = 1,
};

// Registers binder under instance; the registry takes its own reference.
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addService(
    AIBinder* binder, const char* instance) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addServiceWithFlags(
    AIBinder* binder, const char* instance, enum AServiceManager_AddServiceFlag flags)
    __INTRODUCED_IN(34);

// Non-blocking lookup: +1 or NULL.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_checkService(const char* instance)
    __INTRODUCED_IN(29);
// Lookup that polls for a while if the service is absent: +1 or NULL.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_getService(const char* instance)
    __INTRODUCED_IN(29);
// Blocks until the service is registered: +1.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_waitForService(const char* instance)
    __INTRODUCED_IN(31);
bool AServiceManager_isDeclared(const char* instance) __INTRODUCED_IN(31);

__END_DECLS
