// Embedding of the reference VPP service: registers it in the current process under an instance
// name and keeps it there for the life of the returned handle.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>

#include <cstddef>
#include <memory>
#include <string>

namespace vppservice {

// Keeps one registration of the service alive. Destroying it ends the service as a process exit
// would: every session still alive is terminated without further callbacks, the service's binder
// is declared dead (clients linked to its death are told, later calls on it answer
// STATUS_DEAD_OBJECT) and the name is removed from the service manager.
class ServiceHandle {
  public:
    ~ServiceHandle();
    ServiceHandle(const ServiceHandle&) = delete;
    ServiceHandle& operator=(const ServiceHandle&) = delete;

    // The full name the service is registered under: the interface descriptor, "/", the instance.
    const std::string& name() const;

    // The service object itself, for callers in this process that skip the service manager.
    std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppService> service() const;

    // Sessions made by the service that are not terminated yet.
    size_t liveSessionCount() const;

    struct State;

  private:
    friend std::unique_ptr<ServiceHandle> RegisterService(const std::string& instance);
    explicit ServiceHandle(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

// Creates a service and registers it as "vendor.zux.hardware.vpp.IVppService/" + instance, the
// name clients look up (the library uses instance "default"). Returns null when something is
// registered under that name already or the registration fails.
//
// The service logs to stderr only when asked: through a session's setDebugFlags, or for every
// session by the environment variable VPPSERVICE_DEBUG (a decimal flag value: 1 lifecycle and
// errors, 2 also every buffer).
std::unique_ptr<ServiceHandle> RegisterService(const std::string& instance = "default");

}  // namespace vppservice
