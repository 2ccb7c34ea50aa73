// The memory of one queued buffer, mapped from its descriptors for as long as the session keeps it.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "frc/frame.h"
#include "port_config.h"

namespace vppservice {

using ::aidl::vendor::zux::hardware::vpp::VppBuffer;

// One shared mapping of a buffer's memory, unmapped when the last holder lets it go.
class Mapping {
  public:
    Mapping(void* address, size_t length) : address_(address), length_(length) {}
    ~Mapping();
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    uint8_t* address() const { return static_cast<uint8_t*>(address_); }
    size_t length() const { return length_; }

  private:
    void* address_;
    size_t length_;
};

// The mappings of one session's buffers, kept between uses: a client cycles a pool of buffers,
// and mapping a frame afresh for every use (then faulting its pages in and unmapping it) costs
// more than converting it. A mapping is known by its file (device and inode, which stay the
// file's own while the mapping holds it), its page range and its protection, so any duplicate
// of a buffer's descriptor finds it again; the file's size is checked on every use.
//
// No descriptor is kept. Mappings that no queued buffer uses (idle ones) are kept up to
// kMaxIdle mappings and kMaxIdleBytes bytes; beyond that the least recently used go, which also
// retires the mappings of buffers the client has freed. DropIdle (on flush) and Clear (on close
// and term) unmap every idle one; mappings still in use go with their last frame. Thread-safe.
class MappingCache {
  public:
    static constexpr size_t kMaxIdle = 32;
    static constexpr size_t kMaxIdleBytes = size_t{256} << 20;

    // The mapping of `length` bytes from the page-aligned `pageStart` of fd, with the file's
    // identity from `info`; maps it when not cached. Null with errno set when mmap fails.
    std::shared_ptr<Mapping> Acquire(int fd, const struct stat& info, size_t pageStart,
                                     size_t length, bool writable);
    // Unmaps the idle mappings.
    void DropIdle();
    // Forgets every mapping: idle ones are unmapped now, the others once their frames go.
    void Clear();
    // Mappings held, in use or idle (for tests).
    size_t size() const;

  private:
    struct Entry {
        dev_t device;
        ino_t inode;
        size_t pageStart;
        size_t length;
        bool writable;
        uint64_t lastUse;
        std::shared_ptr<Mapping> mapping;
    };
    // Unmaps the least recently used idle mappings beyond the limits, `added` counted among
    // them. Locked; the mappings go when `released` does.
    void TrimLocked(const Mapping* added, std::vector<std::shared_ptr<Mapping>>* released);

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    uint64_t clock_ = 0;
};

// Holds shared mappings of a buffer's memory and describes the frame in them. No descriptor is
// kept: the mappings alone keep the memory alive, so the caller may close its descriptors as
// soon as Map returns.
//
// Memory layouts accepted:
// - one descriptor: the whole frame, laid out by the port's parameters, starts `offset` bytes
//   into it;
// - one descriptor per plane (2 for the semi-planar formats, 3 for the planar one): plane p
//   starts `offset` bytes into descriptor p.
// The memory behind each descriptor must be large enough (its size is read with fstat), and a
// declared length (allocLen, else bufferLen, when positive) must cover the frame.
class MappedFrame {
  public:
    MappedFrame(const MappedFrame&) = delete;
    MappedFrame& operator=(const MappedFrame&) = delete;

    // Maps the buffer for a port with `param` (already checked), through `cache` when given.
    // VPP_ERR_PARAM for a buffer without descriptors, with a negative offset, too small for the
    // frame, or whose memory cannot be mapped as asked; VPP_ERR_NO_MEM when the system is out
    // of mappings.
    static VppError Map(const VppBuffer& buffer, const VppPortParam& param, bool writable,
                        MappingCache* cache, std::unique_ptr<MappedFrame>* out);

    const frc::FrameView& view() const { return view_; }

  private:
    MappedFrame() = default;

    // Maps `span` bytes at `offset` of fd; returns the address of the offset.
    VppError MapRegion(int fd, size_t offset, size_t span, bool writable, MappingCache* cache,
                       uint8_t** data);

    std::vector<std::shared_ptr<Mapping>> regions_;
    frc::FrameView view_;
};

}  // namespace vppservice
