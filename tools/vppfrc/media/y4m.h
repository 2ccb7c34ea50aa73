// YUV4MPEG2 (4:2:0, 8-bit, progressive) stream reader and writer working on I420 frames.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media/output_file.h"
#include "media/unique_fd.h"

namespace media {

struct VideoFormat {
    int width = 0;
    int height = 0;
    int fpsNum = 0;
    int fpsDen = 1;
    // The stream header's tags after the signature, verbatim and in order (W, H and F included;
    // the writer puts the values above in their place). Empty: "Ip C420jpeg" follow W H F.
    std::vector<std::string> tags;
};

// Largest width or height accepted by the reader and the writer, and the largest frame area
// (7680x4320): frames are held in several buffers at once, so the limit bounds the memory.
constexpr int kMaxDimension = 8192;
constexpr int64_t kMaxPixels = int64_t{7680} * 4320;

// I420 frame layout used everywhere in the tool: Y (width*height), then U, then V
// ((width/2)*(height/2) each). Returns 0 for non-positive sizes.
size_t I420FrameSize(int width, int height);

// Reads a YUV4MPEG2 file frame by frame; the file is streamed, never loaded whole. Accepted:
// chroma tags C420, C420jpeg, C420paldv, C420mpeg2 or none, progressive or unmarked
// interlacing, even width and height. Other header tags and frame parameters are kept
// verbatim (format().tags, frameParams()) for the writer to pass on.
// Errors are one sentence naming the file and the problem; frames in messages count from 1.
class Y4mReader {
  public:
    Y4mReader();
    Y4mReader(const Y4mReader&) = delete;
    Y4mReader& operator=(const Y4mReader&) = delete;
    ~Y4mReader();

    // Opens and parses the stream header; "-" is standard input. Pipes and other unseekable
    // streams are fine: the reader never seeks and takes short reads. On failure returns false
    // and sets *error to one clear sentence naming the problem (and the file).
    bool Open(const std::string& path, std::string* error);
    // The same on a descriptor the reader takes over; name is used in messages.
    bool OpenFd(UniqueFd fd, const std::string& name, std::string* error);
    void Close();
    bool isOpen() const { return fd_.valid(); }
    // The descriptor read from, for identity checks (-1 when closed).
    int fd() const { return fd_.get(); }

    const VideoFormat& format() const { return format_; }
    // The chroma tag's value as found in the header ("420jpeg", ...), empty when absent.
    const std::string& chromaTag() const { return chroma_; }
    size_t frameSize() const { return frameSize_; }

    enum class Result { kFrame, kEnd, kError };
    // Reads the next frame (I420, I420FrameSize bytes) into i420. kEnd and kError are final:
    // later calls return the same result (and the same message).
    // A kError from damaged content (a truncated or malformed frame) rather than a failed
    // read sets damaged(); its message names the frame (from 1) and its byte offset.
    Result Read(uint8_t* i420, std::string* error);
    int64_t framesRead() const { return framesRead_; }
    bool damaged() const { return damaged_; }
    // The parameters after "FRAME" of the frame read last, verbatim (empty when none).
    const std::string& frameParams() const { return frameParams_; }

  private:
    // Reads more bytes into the buffer: >0 on data, 0 at end of file, -1 on a read error.
    ssize_t Fill();
    // Reads one '\n'-terminated line of at most maxLength bytes (without the '\n'). Returns 1 on
    // a line, 0 at end of file before any byte, -1 on an error (message in *problem).
    int ReadLine(size_t maxLength, std::string* line, bool* truncated, std::string* problem);
    bool ParseHeader(const std::string& line, std::string* error);
    Result Stop(Result result, const std::string& message, std::string* error);
    // Bytes of the stream consumed so far.
    uint64_t Offset() const { return bytesRead_ - (bufferEnd_ - bufferPos_); }

    UniqueFd fd_;
    uint64_t bytesRead_ = 0;
    bool damaged_ = false;
    std::string frameParams_;
    std::string path_;
    VideoFormat format_;
    std::string chroma_;
    size_t frameSize_ = 0;
    int64_t framesRead_ = 0;
    std::vector<uint8_t> buffer_;
    size_t bufferPos_ = 0;
    size_t bufferEnd_ = 0;
    Result final_ = Result::kFrame;  // kFrame while reading can go on
    std::string finalMessage_;
};

// Writes a YUV4MPEG2 file from I420 frames: the header tags of format.tags (or C420jpeg,
// progressive) and each frame's parameters as given.
class Y4mWriter {
  public:
    Y4mWriter() = default;
    Y4mWriter(const Y4mWriter&) = delete;
    Y4mWriter& operator=(const Y4mWriter&) = delete;
    ~Y4mWriter() = default;  // the file member removes an uncommitted temporary file

    // Writes through an OutputFile: a regular file goes to a temporary file in the same folder
    // and Commit() renames it into place; destroying a writer that was not committed removes
    // the temporary file, so no partial output is left. "-", pipes and devices are streams.
    bool Open(const std::string& path, const VideoFormat& format, std::string* error,
              bool overwrite = true);
    // params: what follows "FRAME" on the frame's line (without the leading space).
    bool Write(const uint8_t* i420, std::string* error, const std::string& params = "");
    bool Commit(std::string* error);
    // Drops everything written so far, leaving no file.
    void Discard() { file_.Discard(); }

    const VideoFormat& format() const { return format_; }
    int64_t framesWritten() const { return framesWritten_; }

  private:
    OutputFile file_;
    VideoFormat format_;
    size_t frameSize_ = 0;
    int64_t framesWritten_ = 0;
};

}  // namespace media
