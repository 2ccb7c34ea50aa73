// YUV4MPEG2 (4:2:0, 8-bit, progressive) stream reader and writer working on I420 frames.
#include "media/y4m.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>

namespace media {
namespace {

constexpr char kSignature[] = "YUV4MPEG2";
constexpr size_t kSignatureLength = sizeof(kSignature) - 1;
constexpr size_t kMaxHeaderLine = 16384;
constexpr size_t kMaxFrameLine = 4096;
constexpr size_t kBufferSize = size_t{64} * 1024;

std::string Quote(const std::string& path) {
    return "'" + path + "'";
}

// Shows at most maxChars of untrusted bytes, replacing anything unprintable by '?'.
std::string Printable(const char* data, size_t size, size_t maxChars = 24) {
    std::string out;
    for (size_t i = 0; i < size && i < maxChars; ++i) {
        unsigned char c = static_cast<unsigned char>(data[i]);
        out += (c >= 0x20 && c < 0x7f) ? static_cast<char>(c) : '?';
    }
    if (size > maxChars) out += "...";
    return out;
}

// Parses a decimal number made of digits only, in [1, max].
bool ParsePositive(const std::string& text, int64_t max, int* value) {
    if (text.empty() || text.size() > 10) return false;
    int64_t v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    if (v < 1 || v > max) return false;
    *value = static_cast<int>(v);
    return true;
}

const char* InterlaceName(const std::string& value) {
    if (value == "t") return "top field first";
    if (value == "b") return "bottom field first";
    if (value == "m") return "mixed fields";
    return "unknown field order";
}

}  // namespace

size_t I420FrameSize(int width, int height) {
    if (width <= 0 || height <= 0) return 0;
    size_t w = static_cast<size_t>(width);
    size_t h = static_cast<size_t>(height);
    return w * h + 2 * (w / 2) * (h / 2);
}

Y4mReader::Y4mReader() = default;

Y4mReader::~Y4mReader() {
    Close();
}

void Y4mReader::Close() {
    fd_.reset();
    bytesRead_ = 0;
    damaged_ = false;
    frameParams_.clear();
    format_ = VideoFormat();
    chroma_.clear();
    frameSize_ = 0;
    framesRead_ = 0;
    bufferPos_ = bufferEnd_ = 0;
    final_ = Result::kFrame;
    finalMessage_.clear();
}

ssize_t Y4mReader::Fill() {
    if (bufferPos_ == bufferEnd_) bufferPos_ = bufferEnd_ = 0;
    if (bufferPos_ > 0 && bufferEnd_ == buffer_.size()) {
        memmove(buffer_.data(), buffer_.data() + bufferPos_, bufferEnd_ - bufferPos_);
        bufferEnd_ -= bufferPos_;
        bufferPos_ = 0;
    }
    for (;;) {
        ssize_t n = read(fd_.get(), buffer_.data() + bufferEnd_, buffer_.size() - bufferEnd_);
        if (n < 0 && errno == EINTR) continue;
        if (n > 0) {
            bufferEnd_ += static_cast<size_t>(n);
            bytesRead_ += static_cast<uint64_t>(n);
        }
        return n;
    }
}

int Y4mReader::ReadLine(size_t maxLength, std::string* line, bool* truncated,
                        std::string* problem) {
    *truncated = false;
    size_t scanned = 0;
    for (;;) {
        const uint8_t* begin = buffer_.data() + bufferPos_;
        size_t available = bufferEnd_ - bufferPos_;
        const void* newline = memchr(begin + scanned, '\n', available - scanned);
        if (newline != nullptr) {
            size_t length = static_cast<const uint8_t*>(newline) - begin;
            if (length > maxLength) break;
            line->assign(reinterpret_cast<const char*>(begin), length);
            bufferPos_ += length + 1;
            return 1;
        }
        scanned = available;
        if (available > maxLength) break;
        ssize_t n = Fill();
        if (n < 0) {
            *problem = "cannot read " + Quote(path_) + ": " + strerror(errno);
            return -1;
        }
        if (n == 0) {
            if (available == 0) return 0;
            line->assign(reinterpret_cast<const char*>(buffer_.data() + bufferPos_), available);
            bufferPos_ = bufferEnd_;
            *truncated = true;
            return 1;
        }
    }
    // No line end within the limit: hand back the start of it so the caller can show it.
    line->assign(reinterpret_cast<const char*>(buffer_.data() + bufferPos_),
                 std::min<size_t>(bufferEnd_ - bufferPos_, 64));
    *problem = "no line end within " + std::to_string(maxLength) + " bytes";
    return -1;
}

bool Y4mReader::Open(const std::string& path, std::string* error) {
    Close();
    if (path == "-") {
        UniqueFd fd(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
        if (!fd.valid()) {
            SetError(error, std::string("cannot read standard input: ") + strerror(errno));
            return false;
        }
        return OpenFd(std::move(fd), "standard input", error);
    }
    UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) {
        SetError(error, "cannot open " + Quote(path) + ": " + strerror(errno));
        return false;
    }
    return OpenFd(std::move(fd), path, error);
}

bool Y4mReader::OpenFd(UniqueFd fd, const std::string& path, std::string* error) {
    Close();
    path_ = path;
    struct stat st;
    if (fstat(fd.get(), &st) == 0 && S_ISDIR(st.st_mode)) {
        SetError(error, "cannot open " + Quote(path) + ": it is a folder");
        return false;
    }
    fd_ = std::move(fd);
    buffer_.resize(kBufferSize);

    // Check the signature before looking for a line end, so that any binary file gets the
    // signature message rather than one about line lengths.
    while (bufferEnd_ < kSignatureLength + 1) {
        ssize_t n = Fill();
        if (n < 0) {
            std::string message = "cannot read " + Quote(path) + ": " + strerror(errno);
            Close();
            SetError(error, message);
            return false;
        }
        if (n == 0) break;
    }
    if (bufferEnd_ == 0) {
        Close();
        SetError(error, Quote(path) + " is empty, not a YUV4MPEG2 file");
        return false;
    }
    const char* start = reinterpret_cast<const char*>(buffer_.data());
    if (bufferEnd_ < kSignatureLength + 1 || memcmp(start, kSignature, kSignatureLength) != 0 ||
        (start[kSignatureLength] != ' ' && start[kSignatureLength] != '\n')) {
        std::string found = Printable(start, std::min<size_t>(bufferEnd_, 10), 10);
        Close();
        SetError(error, Quote(path) + " is not a YUV4MPEG2 file (it starts with '" + found +
                            "' instead of 'YUV4MPEG2 ')");
        return false;
    }

    std::string line, problem;
    bool truncated = false;
    if (ReadLine(kMaxHeaderLine, &line, &truncated, &problem) != 1 || truncated) {
        std::string message =
            truncated ? Quote(path) + " ends inside its stream header (no line end)"
                      : (problem.rfind("cannot", 0) == 0
                             ? problem
                             : Quote(path) + " has a malformed stream header (" + problem + ")");
        Close();
        SetError(error, message);
        return false;
    }
    std::string message;
    if (!ParseHeader(line, &message)) {
        Close();
        SetError(error, message);
        return false;
    }
    frameSize_ = I420FrameSize(format_.width, format_.height);
    return true;
}

namespace {

// Position of token `tag` in tags (by its first letter), or -1.
int FindTag(const std::vector<std::string>& tags, char tag) {
    for (size_t i = 0; i < tags.size(); ++i) {
        if (!tags[i].empty() && tags[i][0] == tag) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace

bool Y4mReader::ParseHeader(const std::string& headerLine, std::string* error) {
    std::string line = headerLine;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string file = Quote(path_);
    bool haveW = false, haveH = false, haveF = false, haveC = false, haveI = false;
    std::string interlace;
    size_t pos = kSignatureLength;
    while (pos < line.size()) {
        size_t end = line.find(' ', pos);
        if (end == std::string::npos) end = line.size();
        std::string token = line.substr(pos, end - pos);
        pos = end + 1;
        if (token.empty()) continue;
        format_.tags.push_back(token);
        const char tag = token[0];
        const std::string value = token.substr(1);
        bool* seen = nullptr;
        switch (tag) {
            case 'W':
                seen = &haveW;
                break;
            case 'H':
                seen = &haveH;
                break;
            case 'F':
                seen = &haveF;
                break;
            case 'C':
                seen = &haveC;
                break;
            case 'I':
                seen = &haveI;
                break;
            default:
                break;  // A (aspect), X (extensions) and unknown tags are kept as they are
        }
        if (seen == nullptr) continue;
        if (*seen) {
            *error = file + " has more than one " + std::string(1, tag) + " tag in its header";
            return false;
        }
        *seen = true;
        if (tag == 'W' && !ParsePositive(value, kMaxDimension, &format_.width)) {
            *error = file + " has an invalid width '" + Printable(token.data(), token.size()) +
                     "' in its header (expected W1 to W" + std::to_string(kMaxDimension) + ")";
            return false;
        }
        if (tag == 'H' && !ParsePositive(value, kMaxDimension, &format_.height)) {
            *error = file + " has an invalid height '" + Printable(token.data(), token.size()) +
                     "' in its header (expected H1 to H" + std::to_string(kMaxDimension) + ")";
            return false;
        }
        if (tag == 'F') {
            size_t colon = value.find(':');
            if (colon == std::string::npos ||
                !ParsePositive(value.substr(0, colon), INT_MAX, &format_.fpsNum) ||
                !ParsePositive(value.substr(colon + 1), INT_MAX, &format_.fpsDen)) {
                *error = file + " has an invalid frame rate '" +
                         Printable(token.data(), token.size()) +
                         "' in its header (expected F<num>:<den>, both positive)";
                return false;
            }
        }
        if (tag == 'C') chroma_ = value;
        if (tag == 'I') interlace = value;
    }
    if (!haveW) {
        *error = file + " has no width (W tag) in its header";
        return false;
    }
    if (!haveH) {
        *error = file + " has no height (H tag) in its header";
        return false;
    }
    if (!haveF) {
        *error = file + " has no frame rate (F tag) in its header";
        return false;
    }
    if (haveC && chroma_ != "420" && chroma_ != "420jpeg" && chroma_ != "420paldv" &&
        chroma_ != "420mpeg2") {
        *error = file + " uses chroma format 'C" + Printable(chroma_.data(), chroma_.size()) +
                 "'; only 8-bit 4:2:0 (C420, C420jpeg, C420paldv, C420mpeg2) is supported";
        return false;
    }
    if (haveI && interlace != "p") {
        *error = file + " is interlaced ('I" + Printable(interlace.data(), interlace.size()) +
                 "': " + InterlaceName(interlace) + "); only progressive video is supported";
        return false;
    }
    if (static_cast<int64_t>(format_.width) * format_.height > kMaxPixels) {
        *error = file + " has frames of " + std::to_string(format_.width) + "x" +
                 std::to_string(format_.height) + " pixels, more than the " +
                 std::to_string(kMaxPixels) + " (7680x4320) this tool takes";
        return false;
    }
    if (format_.width % 2 != 0 || format_.height % 2 != 0) {
        *error = file + " has an odd frame size (" + std::to_string(format_.width) + "x" +
                 std::to_string(format_.height) + "); 4:2:0 needs an even width and height";
        return false;
    }
    return true;
}

Y4mReader::Result Y4mReader::Stop(Result result, const std::string& message, std::string* error) {
    if (result == Result::kError && message.rfind("cannot", 0) != 0) damaged_ = true;
    final_ = result;
    finalMessage_ = message;
    if (result == Result::kError) SetError(error, message);
    return result;
}

Y4mReader::Result Y4mReader::Read(uint8_t* i420, std::string* error) {
    if (!fd_.valid()) {
        SetError(error, "no YUV4MPEG2 file is open");
        return Result::kError;
    }
    if (final_ != Result::kFrame) {
        if (final_ == Result::kError) SetError(error, finalMessage_);
        return final_;
    }
    const std::string frameName =
        "frame " + std::to_string(framesRead_ + 1) + " (at byte " + std::to_string(Offset()) + ")";
    std::string line, problem;
    bool truncated = false;
    int got = ReadLine(kMaxFrameLine, &line, &truncated, &problem);
    if (got == 0) return Stop(Result::kEnd, "", error);
    if (got < 0 && problem.rfind("cannot", 0) == 0) return Stop(Result::kError, problem, error);
    const bool isFrameLine =
        line.compare(0, 5, "FRAME") == 0 && (line.size() == 5 || line[5] == ' ');
    if (got < 0 || (!isFrameLine && !(truncated && std::string("FRAME").rfind(line, 0) == 0))) {
        return Stop(Result::kError,
                    Quote(path_) + ": " + frameName +
                        " has a malformed header (expected 'FRAME', found '" +
                        Printable(line.data(), line.size()) + "')",
                    error);
    }
    if (truncated) {
        return Stop(Result::kError,
                    Quote(path_) + ": " + frameName + " is truncated inside its FRAME header",
                    error);
    }
    frameParams_ = line.size() > 6 ? line.substr(6) : std::string();

    // Frame data: first what is already buffered, then straight into the caller's memory.
    size_t copied = std::min(frameSize_, bufferEnd_ - bufferPos_);
    memcpy(i420, buffer_.data() + bufferPos_, copied);
    bufferPos_ += copied;
    while (copied < frameSize_) {
        size_t want = frameSize_ - copied;
        ssize_t n;
        if (want >= buffer_.size()) {
            n = read(fd_.get(), i420 + copied, want);
            if (n > 0) {
                copied += static_cast<size_t>(n);
                bytesRead_ += static_cast<uint64_t>(n);
            }
        } else {
            n = Fill();
            if (n > 0) {
                size_t take = std::min(want, bufferEnd_ - bufferPos_);
                memcpy(i420 + copied, buffer_.data() + bufferPos_, take);
                bufferPos_ += take;
                copied += take;
            }
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            return Stop(Result::kError,
                        "cannot read " + Quote(path_) + " (" + frameName + "): " + strerror(errno),
                        error);
        }
        if (n == 0) {
            return Stop(Result::kError,
                        Quote(path_) + ": " + frameName +
                            " is truncated: " + std::to_string(frameSize_ - copied) + " of " +
                            std::to_string(frameSize_) + " bytes are missing",
                        error);
        }
    }
    ++framesRead_;
    return Result::kFrame;
}

bool Y4mWriter::Open(const std::string& path, const VideoFormat& format, std::string* error,
                     bool overwrite) {
    file_.Discard();
    framesWritten_ = 0;
    if (format.width <= 0 || format.height <= 0 || format.width > kMaxDimension ||
        format.height > kMaxDimension || format.width % 2 != 0 || format.height % 2 != 0 ||
        format.fpsNum <= 0 || format.fpsDen <= 0) {
        SetError(error, "cannot write " + Quote(path) + ": invalid video format " +
                            std::to_string(format.width) + "x" + std::to_string(format.height) +
                            " at " + std::to_string(format.fpsNum) + "/" +
                            std::to_string(format.fpsDen) +
                            " fps (sizes must be even and positive, rates positive)");
        return false;
    }
    format_ = format;
    frameSize_ = I420FrameSize(format.width, format.height);
    if (!file_.Open(path, overwrite, error)) return false;
    std::vector<std::string> tags = format.tags;
    if (tags.empty()) tags = {"W", "H", "F", "Ip", "C420jpeg"};
    const std::pair<char, std::string> values[] = {
        {'W', std::to_string(format.width)},
        {'H', std::to_string(format.height)},
        {'F', std::to_string(format.fpsNum) + ":" + std::to_string(format.fpsDen)}};
    for (const auto& value : values) {
        const int at = FindTag(tags, value.first);
        if (at >= 0) {
            tags[static_cast<size_t>(at)] = value.first + value.second;
        } else {
            tags.push_back(value.first + value.second);
        }
    }
    std::string header = kSignature;
    for (const std::string& tag : tags) header += " " + tag;
    header += "\n";
    if (!file_.Write(header.data(), header.size(), error)) {
        file_.Discard();
        return false;
    }
    return true;
}

bool Y4mWriter::Write(const uint8_t* i420, std::string* error, const std::string& params) {
    const std::string line = params.empty() ? "FRAME\n" : "FRAME " + params + "\n";
    if (!file_.Write(line.data(), line.size(), error) || !file_.Write(i420, frameSize_, error)) {
        return false;
    }
    ++framesWritten_;
    return true;
}

bool Y4mWriter::Commit(std::string* error) {
    return file_.Commit(error);
}

}  // namespace media
