// Memfd-backed camera buffer objects, image buffers, request records and heap image lists.
#include "camera_host/camera_buffers.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace camera_host {

namespace {

// Refuses planes beyond this size: a sign of a garbled geometry rather than a real image.
constexpr uint64_t kMaxPlaneBytes = 1ULL << 32;
constexpr size_t kPlainAlignment = 64;

size_t AlignUp(size_t value, size_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

uint32_t Half(uint32_t value) {
    return value / 2 + value % 2;
}

// A sized memfd mapped shared, or an empty descriptor and null.
UniqueFd MakeMemfd(const char* pName, size_t size, uint8_t** ppAddress) {
    *ppAddress = nullptr;
    UniqueFd fd(memfd_create(pName, MFD_CLOEXEC));
    if (fd.Get() < 0 || ftruncate(fd.Get(), static_cast<off_t>(size)) != 0) {
        return UniqueFd();
    }
    void* pMapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.Get(), 0);
    if (pMapped == MAP_FAILED) {
        return UniqueFd();
    }
    *ppAddress = static_cast<uint8_t*>(pMapped);
    return fd;
}

}  // namespace

void UniqueFd::Reset(int fd) {
    if (m_fd >= 0) {
        close(m_fd);
    }
    m_fd = fd;
}

bool DescribeImage(const ImageGeometry& geometry, IxoImageList* pList) {
    if (pList == nullptr || geometry.width == 0 || geometry.height == 0) {
        return false;
    }
    const uint32_t alignment = geometry.alignment != 0 ? geometry.alignment : 1;
    const uint64_t stride =
        geometry.stride != 0 ? geometry.stride : AlignUp(geometry.width, alignment);
    const uint32_t scanline = geometry.scanline != 0 ? geometry.scanline : geometry.height;
    if (stride < geometry.width || stride > UINT32_MAX || scanline < geometry.height ||
        stride * scanline > kMaxPlaneBytes) {
        return false;
    }
    const IxoPlaneLayout luma = {geometry.height, static_cast<uint32_t>(stride), scanline};
    IxoPlaneLayout layouts[3] = {luma, {}, {}};
    uint32_t planes = 0;
    switch (geometry.format) {
        case IxoFormatY8:
            planes = 1;
            break;
        case IxoFormatNV12:
        case IxoFormatNV21:
            // Interleaved chroma pairs: a full luma row of bytes for every second luma row.
            layouts[1] = {Half(luma.height), luma.stride, Half(luma.scanline)};
            planes = 2;
            break;
        case IxoFormatYUV420P:
            layouts[1] = {Half(luma.height), Half(luma.stride), Half(luma.scanline)};
            layouts[2] = layouts[1];
            planes = 3;
            break;
        default:
            return false;
    }
    pList->formatBlock = {};
    pList->formatBlock.width = geometry.width;
    pList->formatBlock.height = geometry.height;
    pList->formatBlock.format = geometry.format;
    pList->formatBlock.alignment = alignment;
    for (uint32_t p = 0; p < IXO_MAX_PLANES; ++p) {
        pList->planeSize[p] = 0;
    }
    for (uint32_t p = 0; p < planes; ++p) {
        pList->formatBlock.planeLayout[p] = layouts[p];
        pList->planeSize[p] = static_cast<uint64_t>(layouts[p].stride) * layouts[p].scanline;
    }
    pList->numberOfPlanes = planes;
    return true;
}

std::unique_ptr<CameraBuffer> CameraBuffer::Create(const CameraBufferConfig& config) {
    std::unique_ptr<CameraBuffer> buffer(new (std::nothrow) CameraBuffer());
    if (buffer == nullptr || !buffer->Allocate(config)) {
        return nullptr;
    }
    return buffer;
}

bool CameraBuffer::Allocate(const CameraBufferConfig& config) {
    if (!DescribeImage(config.geometry, this)) {
        return false;
    }
    numberOfImages = 1;
    m_mode = config.handleMode;
    m_descriptorPerPlane = config.descriptorPerPlane;

    // Plane groups: each plane alone, or all planes back to back in one memfd.
    std::vector<size_t> groupSizes;
    size_t offset = 0;
    for (uint32_t p = 0; p < numberOfPlanes; ++p) {
        if (m_descriptorPerPlane) {
            m_planeOffsets.push_back(0);
            groupSizes.push_back(planeSize[p]);
        } else {
            m_planeOffsets.push_back(offset);
            offset += planeSize[p];
        }
    }
    if (!m_descriptorPerPlane) {
        groupSizes.push_back(offset);
    }
    for (size_t size : groupSizes) {
        uint8_t* pAddress = nullptr;
        UniqueFd fd = MakeMemfd("camera-buffer", size, &pAddress);
        if (fd.Get() < 0) {
            return false;  // the destructor releases what was made so far
        }
        m_descriptors.push_back(std::move(fd));
        m_mappings.push_back({pAddress, size});
    }
    for (uint32_t p = 0; p < numberOfPlanes; ++p) {
        pAddr[0][p] = PlaneAddress(p);
    }

    const int numInts = static_cast<int>(config.ints.size());
    m_pOwnedHandle = native_handle_create(static_cast<int>(m_descriptors.size()), numInts);
    if (m_pOwnedHandle == nullptr) {
        return false;
    }
    for (size_t i = 0; i < m_descriptors.size(); ++i) {
        m_pOwnedHandle->data[i] = m_descriptors[i].Get();
    }
    for (int i = 0; i < numInts; ++i) {
        m_pOwnedHandle->data[m_descriptors.size() + static_cast<size_t>(i)] = config.ints[i];
    }
    m_pHandle = m_mode == HandleMode::NullHandle ? nullptr : m_pOwnedHandle;
    return true;
}

CameraBuffer::~CameraBuffer() {
    for (const Mapping& mapping : m_mappings) {
        munmap(mapping.pAddress, mapping.length);
    }
    // The descriptors close with m_descriptors; the handle only borrowed them.
    native_handle_delete(m_pOwnedHandle);
}

void* CameraBuffer::GetHandleAddress() {
    return m_mode == HandleMode::NullAddress ? nullptr : static_cast<void*>(&m_pHandle);
}

int CameraBuffer::PlaneDescriptor(uint32_t plane) const {
    if (plane >= numberOfPlanes || m_descriptors.empty()) {
        return -1;
    }
    return m_descriptorPerPlane ? m_descriptors[plane].Get() : m_descriptors[0].Get();
}

size_t CameraBuffer::PlaneOffset(uint32_t plane) const {
    return plane < m_planeOffsets.size() ? m_planeOffsets[plane] : 0;
}

size_t CameraBuffer::DescriptorSize(size_t index) const {
    return index < m_mappings.size() ? m_mappings[index].length : 0;
}

uint8_t* CameraBuffer::PlaneAddress(uint32_t plane) const {
    if (plane >= m_planeOffsets.size()) {
        return nullptr;
    }
    const size_t group = m_descriptorPerPlane ? plane : 0;
    if (group >= m_mappings.size()) {
        return nullptr;
    }
    return m_mappings[group].pAddress + m_planeOffsets[plane];
}

size_t CameraBuffer::TotalSize() const {
    size_t total = 0;
    for (uint32_t p = 0; p < numberOfPlanes; ++p) {
        total += planeSize[p];
    }
    return total;
}

std::unique_ptr<ImageBuffer> ImageBuffer::Create(const CameraBufferConfig& config,
                                                 PixelSource pixels) {
    std::unique_ptr<ImageBuffer> image(new (std::nothrow) ImageBuffer());
    if (image == nullptr) {
        return nullptr;
    }
    image->m_camera = CameraBuffer::Create(config);
    if (image->m_camera == nullptr) {
        return nullptr;
    }
    const CameraBuffer& camera = *image->m_camera;
    image->m_internalSize = camera.TotalSize();
    image->m_internalFd = MakeMemfd("image-internal", image->m_internalSize, &image->m_pInternal);
    if (image->m_internalFd.Get() < 0) {
        return nullptr;
    }
    image->formatBlock = camera.formatBlock;
    image->numberOfPlanes = camera.numberOfPlanes;
    for (uint32_t p = 0; p < IXO_MAX_PLANES; ++p) {
        image->planeSize[p] = camera.planeSize[p];
    }
    image->numberOfImages = 1;
    // The internal buffer repeats the camera buffer's single-memfd plane offsets.
    size_t offset = 0;
    for (uint32_t p = 0; p < camera.numberOfPlanes; ++p) {
        image->pAddr[0][p] =
            pixels == PixelSource::Camera ? camera.PlaneAddress(p) : image->m_pInternal + offset;
        offset += camera.planeSize[p];
    }
    image->bufferFd = image->m_internalFd.Get();
    image->pImageList = image->m_camera.get();
    return image;
}

ImageBuffer::~ImageBuffer() {
    if (m_pInternal != nullptr) {
        munmap(m_pInternal, m_internalSize);
    }
}

std::unique_ptr<RequestBuffers> RequestBuffers::Create(uint64_t requestId, uint64_t frameTimestamp,
                                                       const CameraBufferConfig& input,
                                                       const CameraBufferConfig& output,
                                                       uint32_t frcRatio, PixelSource pixels) {
    std::unique_ptr<RequestBuffers> request(new (std::nothrow) RequestBuffers());
    if (request == nullptr) {
        return nullptr;
    }
    request->input = ImageBuffer::Create(input, pixels);
    request->output = ImageBuffer::Create(output, pixels);
    if (request->input == nullptr || request->output == nullptr) {
        return nullptr;
    }
    request->frcRatioInfo.frcRatio = frcRatio;
    IxoRequestBufferInfo& info = request->info;
    info.requestId = requestId;
    info.frameTimestamp = frameTimestamp;
    info.pImageBuffer = request->input.get();
    info.pOutputImageBuffer = request->output.get();
    info.pFrcRatioInfo = &request->frcRatioInfo;
    return request;
}

std::unique_ptr<PlainImageList> PlainImageList::Create(const ImageGeometry& geometry,
                                                       uint32_t numberOfImages) {
    if (numberOfImages > IXO_MAX_IMAGES) {
        return nullptr;
    }
    std::unique_ptr<PlainImageList> list(new (std::nothrow) PlainImageList());
    if (list == nullptr || !DescribeImage(geometry, list.get())) {
        return nullptr;
    }
    size_t blockSize = 0;
    for (uint32_t p = 0; p < list->numberOfPlanes; ++p) {
        list->m_planeOffsets[p] = blockSize;
        blockSize = AlignUp(blockSize + list->planeSize[p], kPlainAlignment);
    }
    list->numberOfImages = numberOfImages;
    list->m_blocks.reserve(numberOfImages);
    for (uint32_t k = 0; k < numberOfImages; ++k) {
        void* pBlock = aligned_alloc(kPlainAlignment, blockSize);
        if (pBlock == nullptr) {
            return nullptr;
        }
        list->m_blocks.push_back(static_cast<uint8_t*>(pBlock));
        memset(pBlock, 0, blockSize);
        for (uint32_t p = 0; p < list->numberOfPlanes; ++p) {
            list->pAddr[k][p] = list->PlaneAddress(k, p);
        }
    }
    return list;
}

PlainImageList::~PlainImageList() {
    for (uint8_t* pBlock : m_blocks) {
        free(pBlock);
    }
}

uint8_t* PlainImageList::PlaneAddress(uint32_t image, uint32_t plane) const {
    if (image >= m_blocks.size() || plane >= numberOfPlanes) {
        return nullptr;
    }
    return m_blocks[image] + m_planeOffsets[plane];
}

}  // namespace camera_host
