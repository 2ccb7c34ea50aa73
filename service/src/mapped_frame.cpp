// The memory of one queued buffer, mapped from its descriptors for as long as the session keeps it.
#include "mapped_frame.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vppservice {
namespace {

size_t PageSize() {
    static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

}  // namespace

MappedFrame::~MappedFrame() {
    for (const Region& region : regions_) {
        munmap(region.address, region.length);
    }
}

VppError MappedFrame::MapRegion(int fd, size_t offset, size_t span, bool writable, uint8_t** data) {
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0 || info.st_size < 0) {
        return VppError::VPP_ERR_PARAM;
    }
    const size_t available = static_cast<size_t>(info.st_size);
    if (offset > available || available - offset < span) {
        return VppError::VPP_ERR_PARAM;
    }
    // mmap wants a page-aligned file offset: map from the page that holds `offset`.
    const size_t pageStart = offset - offset % PageSize();
    const size_t length = offset - pageStart + span;
    const int protection = writable ? (PROT_READ | PROT_WRITE) : PROT_READ;
    // Every page of a frame is read or written once mapped: fault them all in here, in one
    // go, rather than one by one in the middle of the conversion.
    int flags = MAP_SHARED;
#ifdef MAP_POPULATE
    flags |= MAP_POPULATE;
#endif
    void* address = mmap(nullptr, length, protection, flags, fd, static_cast<off_t>(pageStart));
    if (address == MAP_FAILED) {
        return errno == ENOMEM ? VppError::VPP_ERR_NO_MEM : VppError::VPP_ERR_PARAM;
    }
    regions_.push_back(Region{address, length});
    *data = static_cast<uint8_t*>(address) + (offset - pageStart);
    return VppError::VPP_OK;
}

VppError MappedFrame::Map(const VppBuffer& buffer, const VppPortParam& param, bool writable,
                          std::unique_ptr<MappedFrame>* out) {
    const auto& fds = buffer.bufferHandle.fds;
    if (fds.empty() || buffer.offset < 0) {
        return VppError::VPP_ERR_PARAM;
    }
    const size_t frameSize = FrameSize(param);
    const int32_t declared = buffer.allocLen > 0 ? buffer.allocLen : buffer.bufferLen;
    if (declared > 0 && static_cast<size_t>(declared) < frameSize) {
        return VppError::VPP_ERR_PARAM;
    }
    const frc::PixelFormat format = FormatOf(param);
    const int planes = frc::planeCount(format);
    const size_t offset = static_cast<size_t>(buffer.offset);

    std::unique_ptr<MappedFrame> mapped(new MappedFrame());
    if (fds.size() == 1 || static_cast<int>(fds.size()) != planes) {
        uint8_t* base = nullptr;
        VppError error = mapped->MapRegion(fds[0].get(), offset, frameSize, writable, &base);
        if (error != VppError::VPP_OK) {
            return error;
        }
        mapped->view_ = frc::FrameView::fromBuffer(base, format, param.width, param.height,
                                                   param.stride, param.scanlines);
    } else {
        frc::FrameView view;
        view.format = format;
        view.width = param.width;
        view.height = param.height;
        for (int plane = 0; plane < planes; ++plane) {
            view.strides[plane] =
                (plane > 0 && format == frc::PixelFormat::kI420) ? param.stride / 2 : param.stride;
        }
        for (int plane = 0; plane < planes; ++plane) {
            VppError error = mapped->MapRegion(fds[plane].get(), offset, PlaneSpan(param, plane),
                                               writable, &view.planes[plane]);
            if (error != VppError::VPP_OK) {
                return error;
            }
        }
        mapped->view_ = view;
    }
    if (!mapped->view_.valid()) {
        return VppError::VPP_ERR_PARAM;
    }
    *out = std::move(mapped);
    return VppError::VPP_OK;
}

}  // namespace vppservice
