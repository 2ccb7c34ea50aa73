// Gives the process that links it a private service folder before main runs (see binder_host.h).
#include <binder_host/binder_host.h>
#include <stdlib.h>
#include <string.h>

namespace {

// A folder set up this way by the test process that started this one is shared with it.
binder_status_t usePrivateFolder() {
    const char* folder = getenv("BINDER_HOST_DIR");
    const char* inherited = getenv("BINDER_HOST_PRIVATE_DIR");
    if (folder != nullptr && inherited != nullptr && strcmp(folder, inherited) == 0) {
        return STATUS_OK;
    }
    return ABinderHost_usePrivateServiceDir();
}

const binder_status_t gPrivateFolder = usePrivateFolder();

}  // namespace
