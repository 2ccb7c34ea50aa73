// Service manager: a registry of this process's binders by instance name, published in the
// service folder for other processes; lookups try this process first, then the folder.
#include <android/binder_manager.h>
#include <binder_host/binder_host.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "binder_internal.h"
#include "rpc/rpc.h"

namespace {

constexpr uint32_t kDefaultPollIntervalMs = 1000;
constexpr uint32_t kDefaultPollLimitMs = 5000;

// Intentionally leaked, like the pool: lookups may happen during static destruction.
struct Registry {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, AIBinder*> services;  // each holds one strong reference
    uint64_t checkCalls = 0;
    uint32_t pollIntervalMs = kDefaultPollIntervalMs;
    uint32_t pollLimitMs = kDefaultPollLimitMs;

    // +1 or NULL. Caller holds mutex.
    AIBinder* findLocked(const std::string& instance) {
        auto it = services.find(instance);
        if (it == services.end()) {
            return nullptr;
        }
        AIBinder_incStrong(it->second);
        return it->second;
    }

    // Removes instance; returns the registry's reference to release outside the lock.
    AIBinder* takeLocked(const std::string& instance) {
        auto it = services.find(instance);
        if (it == services.end()) {
            return nullptr;
        }
        AIBinder* binder = it->second;
        services.erase(it);
        return binder;
    }
};

Registry& registry() {
    static Registry* const instance = new Registry();
    return *instance;
}

// This process's registration first (through its loopback connection in loopback mode), then
// another process's: +1 or NULL.
AIBinder* findAnywhere(const std::string& instance) {
    AIBinder* local = nullptr;
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        local = r.findLocked(instance);
    }
    if (local == nullptr) {
        return binder_host::rpc::lookupService(instance);
    }
    if (AIBinder_isRemote(local) || !binder_host::rpc::loopbackEnabled()) {
        return local;
    }
    AIBinder* proxy = binder_host::rpc::loopbackService(instance);
    AIBinder_decStrong(local);
    return proxy;
}

}  // namespace

namespace binder_host {

void publishRegisteredServices() {
    std::vector<std::string> names;
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        for (const auto& entry : r.services) {
            if (!AIBinder_isRemote(entry.second)) names.push_back(entry.first);
        }
    }
    for (const std::string& name : names) {
        binder_host::rpc::publishService(name);
    }
}

AIBinder* findLocalService(const std::string& instance) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.findLocked(instance);
}

}  // namespace binder_host

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    if (binder == nullptr || instance == nullptr) {
        return EX_ILLEGAL_ARGUMENT;
    }
    Registry& r = registry();
    AIBinder_incStrong(binder);
    AIBinder* previous = nullptr;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        AIBinder*& slot = r.services[instance];
        previous = slot;
        slot = binder;
    }
    r.changed.notify_all();
    // Released outside the lock: the last reference runs the implementation's destructor.
    if (previous != nullptr) {
        AIBinder_decStrong(previous);
    }
    // Other processes can reach it once the pool serves calls (published then if not now).
    if (!AIBinder_isRemote(binder) && binder_host::poolServing()) {
        binder_host::rpc::publishService(instance);
    }
    return EX_NONE;
}

binder_exception_t AServiceManager_addServiceWithFlags(AIBinder* binder, const char* instance,
                                                       enum AServiceManager_AddServiceFlag) {
    return AServiceManager_addService(binder, instance);
}

AIBinder* AServiceManager_checkService(const char* instance) {
    Registry& r = registry();
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        ++r.checkCalls;
    }
    if (instance == nullptr) {
        return nullptr;
    }
    return findAnywhere(instance);
}

AIBinder* AServiceManager_getService(const char* instance) {
    if (instance == nullptr) {
        return nullptr;
    }
    Registry& r = registry();
    uint32_t intervalMs;
    std::chrono::steady_clock::time_point deadline;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        intervalMs = r.pollIntervalMs;
        deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(r.pollLimitMs);
    }
    for (;;) {
        if (AIBinder* binder = findAnywhere(instance)) {
            return binder;
        }
        std::unique_lock<std::mutex> lock(r.mutex);
        auto now = std::chrono::steady_clock::now();
        if (now >= deadline) {
            return nullptr;
        }
        // Woken early by a registration here; otherwise checks again after one poll interval.
        auto wake = std::min(deadline, now + std::chrono::milliseconds(intervalMs));
        r.changed.wait_until(lock, wake);
    }
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    if (instance == nullptr) {
        return nullptr;
    }
    Registry& r = registry();
    for (;;) {
        if (AIBinder* binder = findAnywhere(instance)) {
            return binder;
        }
        std::unique_lock<std::mutex> lock(r.mutex);
        r.changed.wait_for(lock, std::chrono::milliseconds(r.pollIntervalMs));
    }
}

// "Declared" means currently registered on the host.
bool AServiceManager_isDeclared(const char* instance) {
    if (instance == nullptr) {
        return false;
    }
    AIBinder* binder = findAnywhere(instance);
    if (binder == nullptr) {
        return false;
    }
    AIBinder_decStrong(binder);
    return true;
}

binder_status_t ABinderHost_declareDead(const char* instance) {
    if (instance == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    Registry& r = registry();
    AIBinder* binder = nullptr;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        binder = r.takeLocked(instance);
    }
    if (binder == nullptr) {
        return STATUS_NAME_NOT_FOUND;
    }
    r.changed.notify_all();
    binder_host::rpc::unpublishService(instance);
    binder_status_t status = binder_host::markDead(binder);
    // Its loopback proxies die as proxies do when a service process dies.
    binder_host::rpc::loopbackServiceDied(instance);
    AIBinder_decStrong(binder);
    return status;
}

binder_status_t ABinderHost_declareBinderDead(AIBinder* binder) {
    if (binder == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    return binder_host::markDead(binder);
}

bool ABinderHost_isDead(const AIBinder* binder) {
    return binder != nullptr && binder->dead.load();
}

binder_status_t ABinderHost_removeService(const char* instance) {
    if (instance == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    Registry& r = registry();
    AIBinder* binder = nullptr;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        binder = r.takeLocked(instance);
    }
    if (binder == nullptr) {
        return STATUS_NAME_NOT_FOUND;
    }
    r.changed.notify_all();
    binder_host::rpc::unpublishService(instance);
    AIBinder_decStrong(binder);
    return STATUS_OK;
}

uint64_t ABinderHost_getCheckServiceCount() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.checkCalls;
}

void ABinderHost_setGetServicePolling(uint32_t intervalMs, uint32_t limitMs) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.pollIntervalMs = intervalMs;
    r.pollLimitMs = limitMs;
}

void ABinderHost_resetForTesting() {
    Registry& r = registry();
    std::map<std::string, AIBinder*> services;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        services.swap(r.services);
        r.checkCalls = 0;
        r.pollIntervalMs = kDefaultPollIntervalMs;
        r.pollLimitMs = kDefaultPollLimitMs;
    }
    binder_host::resetPoolCounters();
    binder_host::rpc::unpublishAll();
    binder_host::rpc::closeLoopbacks();
    for (auto& entry : services) {
        AIBinder_decStrong(entry.second);
    }
}
