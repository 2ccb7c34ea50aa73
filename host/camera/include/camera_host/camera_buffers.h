// Host-only real-memory image records: memfd-backed camera buffer objects with native handles,
// node-facing image buffers over them, per-request buffer records and plain heap image lists.
#pragma once

#include <cutils/native_handle.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ixonode.h"

namespace camera_host {

// Geometry of an image to describe or allocate.
struct ImageGeometry {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t format = IxoFormatNV12;  // IxoFormatY8, IxoFormatYUV420P, IxoFormatNV12, IxoFormatNV21
    uint32_t stride = 0;              // bytes per luma row; 0: width rounded up to the alignment
    uint32_t scanline = 0;            // rows allotted to the luma plane; 0: the height
    uint32_t alignment = 64;          // row alignment used when stride is 0
};

// Fills formatBlock, numberOfPlanes and planeSize of *pList for the geometry: NV12/NV21 get a luma
// plane and an interleaved chroma plane of half the rows with the luma stride; YUV420P gets a luma
// plane and two chroma planes of half the rows and half the stride; Y8 gets the luma plane only.
// Each plane's size is stride x scanline. Returns false, leaving *pList unchanged, for an unknown
// format, a zero width or height, a stride below the width or a scanline below the height.
bool DescribeImage(const ImageGeometry& geometry, IxoImageList* pList);

// How a camera buffer object presents its native handle to GetHandleAddress.
enum class HandleMode {
    Normal,       // the address of a valid handle pointer
    NullAddress,  // GetHandleAddress returns null
    NullHandle,   // the address of a handle pointer that is null
};

// What a camera buffer object is made of.
struct CameraBufferConfig {
    ImageGeometry geometry;
    bool descriptorPerPlane = false;  // false: every plane in one memfd; true: one memfd per plane
    std::vector<int32_t> ints;        // appended to the native handle after the descriptors
    HandleMode handleMode = HandleMode::Normal;
};

// A descriptor that closes itself: every path out of its scope, error paths included.
class UniqueFd {
  public:
    explicit UniqueFd(int fd = -1) : m_fd(fd) {}
    ~UniqueFd() { Reset(); }
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.Release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            Reset(other.Release());
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int Get() const { return m_fd; }
    // Gives the descriptor up without closing it.
    int Release() {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void Reset(int fd = -1);

  private:
    int m_fd;
};

// A camera buffer object: one image whose planes live in memfds (created close-on-exec, sized,
// mapped shared) that its native handle owns. pAddr[0][p] points into the mappings, so what is
// written there is visible through any mapping of the handle's descriptors.
class CameraBuffer : public IxoImageList {
  public:
    // Returns null when the geometry is invalid or a descriptor or mapping cannot be made.
    static std::unique_ptr<CameraBuffer> Create(const CameraBufferConfig& config);
    ~CameraBuffer() override;
    CameraBuffer(const CameraBuffer&) = delete;
    CameraBuffer& operator=(const CameraBuffer&) = delete;

    // The address of the handle pointer (or null, or the address of a null pointer, by mode).
    void* GetHandleAddress() override;

    // The handle that owns the descriptors, whatever the mode.
    const native_handle_t* Handle() const { return m_pOwnedHandle; }
    // Descriptor holding plane p, and the plane's offset within it.
    int PlaneDescriptor(uint32_t plane) const;
    size_t PlaneOffset(uint32_t plane) const;
    // Size of the memfd behind descriptor index i of the handle.
    size_t DescriptorSize(size_t index) const;
    // The plane's mapped memory, unaffected by later changes to pAddr.
    uint8_t* PlaneAddress(uint32_t plane) const;
    // Sum of the plane sizes.
    size_t TotalSize() const;

  private:
    CameraBuffer() = default;
    bool Allocate(const CameraBufferConfig& config);

    struct Mapping {
        uint8_t* pAddress;
        size_t length;
    };
    native_handle_t* m_pHandle = nullptr;       // what GetHandleAddress exposes
    native_handle_t* m_pOwnedHandle = nullptr;  // what is closed and freed
    HandleMode m_mode = HandleMode::Normal;
    bool m_descriptorPerPlane = false;
    std::vector<UniqueFd> m_descriptors;  // the handle only lends their numbers
    std::vector<Mapping> m_mappings;
    std::vector<size_t> m_planeOffsets;
};

// Which memory the pAddr of an image buffer points into.
enum class PixelSource { Camera, Internal };

// The node-facing image: pImageList is its camera buffer object and bufferFd a separate internal
// memfd of the same total size and plane offsets. Its own GetHandleAddress is the base one (null).
class ImageBuffer : public IxoImageList {
  public:
    static std::unique_ptr<ImageBuffer> Create(const CameraBufferConfig& config,
                                               PixelSource pixels = PixelSource::Camera);
    ~ImageBuffer() override;
    ImageBuffer(const ImageBuffer&) = delete;
    ImageBuffer& operator=(const ImageBuffer&) = delete;

    CameraBuffer* Camera() const { return m_camera.get(); }
    // The internal buffer's descriptor (bufferFd as created).
    int InternalDescriptor() const { return m_internalFd.Get(); }

  private:
    ImageBuffer() = default;

    std::unique_ptr<CameraBuffer> m_camera;
    UniqueFd m_internalFd;
    uint8_t* m_pInternal = nullptr;
    size_t m_internalSize = 0;
};

// A node's per-request record with its input and output image buffers and FRC bookkeeping; the
// record's pointers refer to members of this object, which therefore never moves.
class RequestBuffers {
  public:
    // frcRatio goes into the FRC record, whose counters start at 0. Null if a buffer fails.
    static std::unique_ptr<RequestBuffers> Create(uint64_t requestId, uint64_t frameTimestamp,
                                                  const CameraBufferConfig& input,
                                                  const CameraBufferConfig& output,
                                                  uint32_t frcRatio = 1,
                                                  PixelSource pixels = PixelSource::Camera);
    RequestBuffers(const RequestBuffers&) = delete;
    RequestBuffers& operator=(const RequestBuffers&) = delete;

    IxoRequestBufferInfo info = {};
    IxoFrcRatioInfo frcRatioInfo = {};
    std::unique_ptr<ImageBuffer> input;
    std::unique_ptr<ImageBuffer> output;

  private:
    RequestBuffers() = default;
};

// An image list over heap memory that it owns (one zeroed 64-byte-aligned block per image, planes
// in order, each starting 64-byte aligned), for code that copies between image lists.
class PlainImageList : public IxoImageList {
  public:
    // numberOfImages may be 0 (no memory). Null for an invalid geometry or more than
    // IXO_MAX_IMAGES images.
    static std::unique_ptr<PlainImageList> Create(const ImageGeometry& geometry,
                                                  uint32_t numberOfImages = 1);
    ~PlainImageList() override;
    PlainImageList(const PlainImageList&) = delete;
    PlainImageList& operator=(const PlainImageList&) = delete;

    // Memory of plane p of image k, unaffected by later changes to pAddr.
    uint8_t* PlaneAddress(uint32_t image, uint32_t plane) const;

  private:
    PlainImageList() = default;

    std::vector<uint8_t*> m_blocks;
    size_t m_planeOffsets[IXO_MAX_PLANES] = {};
};

}  // namespace camera_host
