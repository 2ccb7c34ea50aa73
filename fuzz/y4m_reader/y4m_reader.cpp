// libFuzzer target: the YUV4MPEG2 reader on arbitrary bytes from an unseekable stream, with every
// frame it accepts written back out through the writer (header tags and frame parameters).
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "media/y4m.h"

namespace {

// Frames larger than this are only parsed, not read: the fuzzer looks for parsing faults, and
// 7680x4320 frames would make each run slow.
constexpr size_t kMaxFuzzFrame = 1 << 20;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Closing the reader early leaves the feeder writing into a pipe without a reader.
    signal(SIGPIPE, SIG_IGN);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A pipe gives short reads at arbitrary points, as a stream from another program does.
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return 0;
    std::thread feeder([fd = fds[1], data, size] {
        size_t done = 0;
        while (done < size) {
            const size_t chunk = std::min<size_t>(size - done, 1 + (done % 4093));
            const ssize_t n = write(fd, data + done, chunk);
            if (n <= 0) break;
            done += static_cast<size_t>(n);
        }
        close(fd);
    });

    media::Y4mReader reader;
    std::string error;
    if (reader.OpenFd(media::UniqueFd(fds[0]), "fuzz", &error) &&
        reader.frameSize() <= kMaxFuzzFrame) {
        media::Y4mWriter writer;
        const bool writing = writer.Open("/dev/null", reader.format(), &error);
        std::vector<uint8_t> frame(reader.frameSize());
        while (reader.Read(frame.data(), &error) == media::Y4mReader::Result::kFrame) {
            if (writing) writer.Write(frame.data(), &error, reader.frameParams());
        }
        if (writing) writer.Commit(&error);
    }
    // The feeder may be blocked on a full pipe that nobody reads any more.
    reader.Close();
    feeder.join();
    return 0;
}
