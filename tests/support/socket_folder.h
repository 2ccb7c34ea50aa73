// One socket folder for every process leg of a test program (for targets that link the service),
// so that its vppd children never meet the services of other test programs running at once.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "vppservice/daemon_process.h"

namespace testsupport {

inline const std::string& TestSocketFolder() {
    static std::unique_ptr<vppservice::SocketFolder> folder = [] {
        std::string error;
        auto made = vppservice::SocketFolder::Make(&error);
        EXPECT_NE(made, nullptr) << error;
        return made;
    }();
    static const std::string path = folder ? folder->path() : std::string();
    return path;
}

}  // namespace testsupport
