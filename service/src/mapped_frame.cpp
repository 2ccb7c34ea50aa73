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

Mapping::~Mapping() {
    munmap(address_, length_);
}

std::shared_ptr<Mapping> MappingCache::Acquire(int fd, const struct stat& info, size_t pageStart,
                                               size_t length, bool writable) {
    std::vector<std::shared_ptr<Mapping>> released;  // unmapped after the lock
    std::lock_guard<std::mutex> lock(mutex_);
    for (Entry& entry : entries_) {
        if (entry.device == info.st_dev && entry.inode == info.st_ino &&
            entry.pageStart == pageStart && entry.length == length && entry.writable == writable) {
            entry.lastUse = ++clock_;
            return entry.mapping;
        }
    }
    const int protection = writable ? (PROT_READ | PROT_WRITE) : PROT_READ;
    // Every page of a frame is read or written once mapped: fault them all in here, in one
    // go, rather than one by one in the middle of the conversion.
    int flags = MAP_SHARED;
#ifdef MAP_POPULATE
    flags |= MAP_POPULATE;
#endif
    void* address = mmap(nullptr, length, protection, flags, fd, static_cast<off_t>(pageStart));
    if (address == MAP_FAILED) {
        return nullptr;
    }
    auto mapping = std::make_shared<Mapping>(address, length);
    entries_.push_back(
        Entry{info.st_dev, info.st_ino, pageStart, length, writable, ++clock_, mapping});
    TrimLocked(mapping.get(), &released);
    return mapping;
}

void MappingCache::TrimLocked(const Mapping* added,
                              std::vector<std::shared_ptr<Mapping>>* released) {
    for (;;) {
        // The mapping just added counts as idle (it soon may be) but stays.
        size_t idle = 0;
        size_t idleBytes = 0;
        Entry* oldest = nullptr;
        for (Entry& entry : entries_) {
            const bool isAdded = entry.mapping.get() == added;
            // Only the cache holds it: no frame uses it, and none can start to without the lock.
            if (entry.mapping.use_count() != 1 && !isAdded) continue;
            ++idle;
            idleBytes += entry.length;
            if (!isAdded && (oldest == nullptr || entry.lastUse < oldest->lastUse)) {
                oldest = &entry;
            }
        }
        if (oldest == nullptr || (idle <= kMaxIdle && idleBytes <= kMaxIdleBytes)) return;
        released->push_back(std::move(oldest->mapping));
        *oldest = std::move(entries_.back());
        entries_.pop_back();
    }
}

void MappingCache::DropIdle() {
    std::vector<std::shared_ptr<Mapping>> released;
    std::lock_guard<std::mutex> lock(mutex_);
    for (size_t i = 0; i < entries_.size();) {
        if (entries_[i].mapping.use_count() == 1) {
            released.push_back(std::move(entries_[i].mapping));
            entries_[i] = std::move(entries_.back());
            entries_.pop_back();
        } else {
            ++i;
        }
    }
}

void MappingCache::Clear() {
    std::vector<Entry> entries;
    std::lock_guard<std::mutex> lock(mutex_);
    entries.swap(entries_);
}

size_t MappingCache::size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_.size();
}

VppError MappedFrame::MapRegion(int fd, size_t offset, size_t span, bool writable,
                                MappingCache* cache, uint8_t** data) {
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
    MappingCache own;  // without a session's cache: a mapping for this frame alone
    std::shared_ptr<Mapping> mapping =
        (cache != nullptr ? cache : &own)->Acquire(fd, info, pageStart, length, writable);
    if (mapping == nullptr) {
        return errno == ENOMEM ? VppError::VPP_ERR_NO_MEM : VppError::VPP_ERR_PARAM;
    }
    *data = mapping->address() + (offset - pageStart);
    regions_.push_back(std::move(mapping));
    return VppError::VPP_OK;
}

VppError MappedFrame::Map(const VppBuffer& buffer, const VppPortParam& param, bool writable,
                          MappingCache* cache, std::unique_ptr<MappedFrame>* out) {
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
        VppError error = mapped->MapRegion(fds[0].get(), offset, frameSize, writable, cache, &base);
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
                                               writable, cache, &view.planes[plane]);
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
