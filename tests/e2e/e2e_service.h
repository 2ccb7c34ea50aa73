// The service behind the end-to-end tests: registered in the test process, or in a vppd child
// that the test process reaches across processes through a socket folder of its own.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "descriptors.h"
#include "socket_folder.h"
#include "vppservice/daemon_process.h"
#include "vppservice/vpp_service.h"

namespace e2e {

// Shared-memory mappings (memfds) of a process: the frames it has mapped.
inline int MemfdMappingCountOf(pid_t pid) {
    return testsupport::MappingCountOf(pid, "/memfd:");
}

// Polls until the condition holds; false after timeoutMs.
inline bool Eventually(const std::function<bool()>& condition, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

enum class Transport { kEmbedded, kProcess };
inline std::string TransportName(const ::testing::TestParamInfo<Transport>& info) {
    return info.param == Transport::kEmbedded ? "Embedded" : "Process";
}

// The service registered as instance "default" (the one the library looks up) for the life of
// the object.
class TestService {
  public:
    // Null with *why set when the service cannot be reached (no cross-process transport).
    static std::unique_ptr<TestService> Start(Transport transport, std::string* why) {
        std::unique_ptr<TestService> service(new TestService());
        if (transport == Transport::kEmbedded) {
            service->handle_ = vppservice::RegisterService();
            if (service->handle_ == nullptr) *why = "the name is taken";
            return service->handle_ ? std::move(service) : nullptr;
        }
        vppservice::DaemonOptions options;
        options.socketDir = testsupport::TestSocketFolder();
        service->daemon_ = vppservice::DaemonProcess::Start(options, why);
        if (service->daemon_ == nullptr) return nullptr;
        const std::string name =
            std::string(::aidl::vendor::zux::hardware::vpp::IVppService::descriptor) + "/default";
        // Held while the test runs: the connection to the daemon stays the same.
        service->remote_ = ndk::SpAIBinder(AServiceManager_checkService(name.c_str()));
        if (service->remote_.get() == nullptr) {
            *why = "the binder does not reach other processes here";
            return nullptr;
        }
        return service;
    }

    // Sessions alive in an embedded service; -1 for a daemon.
    int liveSessions() const {
        return handle_ ? static_cast<int>(handle_->liveSessionCount()) : -1;
    }
    // The daemon (process leg only).
    vppservice::DaemonProcess* daemon() const { return daemon_.get(); }

  private:
    TestService() = default;
    std::unique_ptr<vppservice::ServiceHandle> handle_;
    std::unique_ptr<vppservice::DaemonProcess> daemon_;
    ndk::SpAIBinder remote_;
};

}  // namespace e2e
