// Where the vppfrc tool's VPP service runs: embedded in the tool, in a vppd child the tool
// starts, or in a vppd that is running already.
#pragma once

#include <memory>
#include <string>

namespace vppfrc {

enum class ServiceMode { kEmbedded, kProcess, kConnect };

// "embedded", "process", "connect".
const char* ServiceModeName(ServiceMode mode);
bool ParseServiceMode(const std::string& text, ServiceMode* mode);

// Keeps the service reachable under the instance the library looks up ("default") for as long
// as it lives. Destroying it ends an embedded service or a vppd child (SIGTERM, then SIGKILL
// after a few seconds) and removes the child's private socket folder.
class ServiceLink {
  public:
    virtual ~ServiceLink() = default;
};

// Makes the service reachable:
// - embedded: registers the reference service in this process;
// - process:  starts vppd (vppservice::DaemonProgram()) with a private socket folder, which this
// process uses too (BINDER_HOST_DIR) while
//             the link lives, and waits for its ready line;
// - connect:  checks that a service is registered where BINDER_HOST_DIR points (or in the
//             default folder).
// Returns null with *error set to one sentence on failure.
std::unique_ptr<ServiceLink> OpenServiceLink(ServiceMode mode, std::string* error);

}  // namespace vppfrc
