// Where the vppfrc tool's VPP service runs: the embedded service, a vppd child process with a
// private socket folder, or a vppd that is running already.
#include "service_link.h"

#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <android/binder_manager.h>

#include "vppservice/daemon_process.h"
#include "vppservice/vpp_service.h"

namespace vppfrc {
namespace {

using ::aidl::vendor::zux::hardware::vpp::IVppService;

std::string ServiceName() {
    return std::string(IVppService::descriptor) + "/default";
}

// The service in this process, in a socket folder of its own so that a vppd running for the
// same user neither takes its name nor serves this run.
class EmbeddedLink : public ServiceLink {
  public:
    bool Start(std::string* error) {
        folder_ = vppservice::SocketFolder::Make(error);
        if (folder_ == nullptr) return false;
        handle_ = vppservice::RegisterService();
        if (handle_ == nullptr) {
            *error = "cannot start the embedded VPP service: its name is taken";
            return false;
        }
        return true;
    }

  private:
    // Declared first: the service ends before its folder goes.
    std::unique_ptr<vppservice::SocketFolder> folder_;
    std::unique_ptr<vppservice::ServiceHandle> handle_;
};

class ConnectLink : public ServiceLink {};

// A vppd child with a socket folder of its own, which this process uses while the link lives.
class ProcessLink : public ServiceLink {
  public:
    bool Start(std::string* error) {
        folder_ = vppservice::SocketFolder::Make(error);
        if (folder_ == nullptr) return false;
        vppservice::DaemonOptions options;
        options.socketDir = folder_->path();
        daemon_ = vppservice::DaemonProcess::Start(options, error);
        return daemon_ != nullptr;
    }

  private:
    // Declared first: the daemon stops before its folder goes.
    std::unique_ptr<vppservice::SocketFolder> folder_;
    std::unique_ptr<vppservice::DaemonProcess> daemon_;
};

}  // namespace

const char* ServiceModeName(ServiceMode mode) {
    switch (mode) {
        case ServiceMode::kEmbedded:
            return "embedded";
        case ServiceMode::kProcess:
            return "process";
        case ServiceMode::kConnect:
            return "connect";
    }
    return "?";
}

bool ParseServiceMode(const std::string& text, ServiceMode* mode) {
    for (ServiceMode candidate :
         {ServiceMode::kEmbedded, ServiceMode::kProcess, ServiceMode::kConnect}) {
        if (text == ServiceModeName(candidate)) {
            *mode = candidate;
            return true;
        }
    }
    return false;
}

std::unique_ptr<ServiceLink> OpenServiceLink(ServiceMode mode, std::string* error) {
    switch (mode) {
        case ServiceMode::kEmbedded: {
            auto link = std::make_unique<EmbeddedLink>();
            if (!link->Start(error)) return nullptr;
            return link;
        }
        case ServiceMode::kProcess: {
            auto link = std::make_unique<ProcessLink>();
            if (!link->Start(error)) return nullptr;
            return link;
        }
        case ServiceMode::kConnect: {
            ndk::SpAIBinder binder(AServiceManager_checkService(ServiceName().c_str()));
            if (binder.get() == nullptr) {
                *error = "no VPP service is running (start vppd first, or use --service process)";
                return nullptr;
            }
            return std::make_unique<ConnectLink>();
        }
    }
    return nullptr;
}

}  // namespace vppfrc
