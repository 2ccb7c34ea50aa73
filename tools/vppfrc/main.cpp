// vppfrc: converts a YUV4MPEG2 video to a higher frame rate through a camera node and the
// embedded VPP service; --help lists the options.
#include <string>
#include <vector>

#include "convert.h"

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    return vppfrc::ToolMain(args, stdout, stderr);
}
