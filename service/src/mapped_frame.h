// The memory of one queued buffer, mapped from its descriptors for as long as the session keeps it.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "frc/frame.h"
#include "port_config.h"

namespace vppservice {

using ::aidl::vendor::zux::hardware::vpp::VppBuffer;

// Owns shared mappings of a buffer's memory and describes the frame in them. No descriptor is
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
    ~MappedFrame();
    MappedFrame(const MappedFrame&) = delete;
    MappedFrame& operator=(const MappedFrame&) = delete;

    // Maps the buffer for a port with `param` (already checked). VPP_ERR_PARAM for a buffer
    // without descriptors, with a negative offset, too small for the frame, or whose memory
    // cannot be mapped as asked; VPP_ERR_NO_MEM when the system is out of mappings.
    static VppError Map(const VppBuffer& buffer, const VppPortParam& param, bool writable,
                        std::unique_ptr<MappedFrame>* out);

    const frc::FrameView& view() const { return view_; }

  private:
    MappedFrame() = default;

    struct Region {
        void* address;
        size_t length;
    };
    // Maps `span` bytes at `offset` of fd; returns the address of the offset.
    VppError MapRegion(int fd, size_t offset, size_t span, bool writable, uint8_t** data);

    std::vector<Region> regions_;
    frc::FrameView view_;
};

}  // namespace vppservice
