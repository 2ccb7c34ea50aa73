// YUV4MPEG2 (4:2:0, 8-bit, progressive) stream reader and writer working on I420 frames.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media/atomic_file.h"

namespace media {

struct VideoFormat {
    int width = 0;
    int height = 0;
    int fpsNum = 0;
    int fpsDen = 1;
};

// Largest width or height accepted by the reader and the writer.
constexpr int kMaxDimension = 16384;

// I420 frame layout used everywhere in the tool: Y (width*height), then U, then V
// ((width/2)*(height/2) each). Returns 0 for non-positive sizes.
size_t I420FrameSize(int width, int height);

// Reads a YUV4MPEG2 file frame by frame; the file is streamed, never loaded whole. Accepted:
// chroma tags C420, C420jpeg, C420paldv, C420mpeg2 or none, progressive or unmarked
// interlacing, even width and height. Unknown header tags and frame parameters are ignored.
// Errors are one sentence naming the file and the problem; frames in messages count from 1.
class Y4mReader {
  public:
    Y4mReader();
    Y4mReader(const Y4mReader&) = delete;
    Y4mReader& operator=(const Y4mReader&) = delete;
    ~Y4mReader();

    // Opens and parses the stream header. On failure returns false and sets *error to one clear
    // sentence naming the problem (and the file).
    bool Open(const std::string& path, std::string* error);
    void Close();
    bool isOpen() const { return fd_ >= 0; }

    const VideoFormat& format() const { return format_; }
    // The chroma tag's value as found in the header ("420jpeg", ...), empty when absent.
    const std::string& chromaTag() const { return chroma_; }
    size_t frameSize() const { return frameSize_; }

    enum class Result { kFrame, kEnd, kError };
    // Reads the next frame (I420, I420FrameSize bytes) into i420. kEnd and kError are final:
    // later calls return the same result (and the same message).
    Result Read(uint8_t* i420, std::string* error);
    int64_t framesRead() const { return framesRead_; }

  private:
    // Reads more bytes into the buffer: >0 on data, 0 at end of file, -1 on a read error.
    ssize_t Fill();
    // Reads one '\n'-terminated line of at most maxLength bytes (without the '\n'). Returns 1 on
    // a line, 0 at end of file before any byte, -1 on an error (message in *problem).
    int ReadLine(size_t maxLength, std::string* line, bool* truncated, std::string* problem);
    bool ParseHeader(const std::string& line, std::string* error);
    Result Stop(Result result, const std::string& message, std::string* error);

    int fd_ = -1;
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

// Writes a YUV4MPEG2 file (C420jpeg, progressive) from I420 frames.
class Y4mWriter {
  public:
    Y4mWriter() = default;
    Y4mWriter(const Y4mWriter&) = delete;
    Y4mWriter& operator=(const Y4mWriter&) = delete;
    ~Y4mWriter() = default;  // the file member removes an uncommitted temporary file

    // Writes to a temporary file in the same folder; Commit() renames it into place. Destroying
    // a writer that was not committed removes the temporary file: no partial output is left.
    bool Open(const std::string& path, const VideoFormat& format, std::string* error);
    bool Write(const uint8_t* i420, std::string* error);
    bool Commit(std::string* error);
    // Drops everything written so far, leaving no file.
    void Discard() { file_.Discard(); }

    const VideoFormat& format() const { return format_; }
    int64_t framesWritten() const { return framesWritten_; }

  private:
    AtomicFile file_;
    VideoFormat format_;
    size_t frameSize_ = 0;
    int64_t framesWritten_ = 0;
};

}  // namespace media
