// vppfrc: converts a YUV4MPEG2 video to a higher frame rate through a camera node and the
// embedded VPP service; --help lists the options.
#include <string>
#include <vector>

#include "convert.h"
#include "media/atomic_file.h"

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    // An interrupted run (Ctrl-C, kill, a closed terminal or pipe) leaves no temporary file.
    media::RemoveTemporaryFilesOnSignals();
    return vppfrc::ToolMain(args, stdout, stderr);
}
