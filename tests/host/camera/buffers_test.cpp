// Tests of the real-memory image records: geometry, memfd camera buffers and their handles, and
// image buffers.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "camera_host/camera_buffers.h"
#include "descriptors.h"
#include "gtest/gtest.h"

namespace {

using namespace camera_host;
using testsupport::OpenDescriptorCount;

ImageGeometry Geometry(uint32_t format, uint32_t width, uint32_t height, uint32_t stride = 0,
                       uint32_t scanline = 0) {
    return {width, height, format, stride, scanline, 64};
}

CameraBufferConfig Config(uint32_t format, bool descriptorPerPlane = false) {
    CameraBufferConfig config;
    config.geometry = Geometry(format, 64, 48, 96, 50);
    config.descriptorPerPlane = descriptorPerPlane;
    return config;
}

size_t DescriptorSize(int fd) {
    struct stat info = {};
    return fstat(fd, &info) == 0 ? static_cast<size_t>(info.st_size) : 0;
}

// A byte pattern particular to each plane, so that misplaced or overlapping planes show.
std::vector<uint8_t> Pattern(size_t size, uint32_t plane) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + plane * 31 + 1);
    return bytes;
}

// Writes the plane's pattern through pPlane, then reads it back through a fresh shared mapping
// of fd at offset.
void ExpectWrittenThroughMapping(uint8_t* pPlane, size_t size, uint32_t plane, int fd,
                                 size_t offset) {
    const std::vector<uint8_t> bytes = Pattern(size, plane);
    memcpy(pPlane, bytes.data(), size);
    const size_t mapLength = DescriptorSize(fd);
    ASSERT_LE(offset + size, mapLength) << "plane " << plane;
    void* pMapped = mmap(nullptr, mapLength, PROT_READ, MAP_SHARED, fd, 0);
    ASSERT_NE(pMapped, MAP_FAILED);
    const uint8_t* pBytes = static_cast<const uint8_t*>(pMapped) + offset;
    EXPECT_EQ(std::vector<uint8_t>(pBytes, pBytes + size), bytes) << "plane " << plane;
    munmap(pMapped, mapLength);
}

TEST(DescribeImage, PlaneLayoutsDefaultsAndRejections) {
    // 640x481 with stride 704 and scanline 496; the odd height rounds chroma rows up.
    const std::vector<std::pair<uint32_t, std::vector<IxoPlaneLayout>>> cases = {
        {IxoFormatY8, {{481, 704, 496}}},
        {IxoFormatNV12, {{481, 704, 496}, {241, 704, 248}}},
        {IxoFormatNV21, {{481, 704, 496}, {241, 704, 248}}},
        {IxoFormatYUV420P, {{481, 704, 496}, {241, 352, 248}, {241, 352, 248}}},
    };
    IxoImageList list;
    for (const auto& [format, layouts] : cases) {
        ASSERT_TRUE(DescribeImage(Geometry(format, 640, 481, 704, 496), &list));
        EXPECT_EQ(std::vector<uint32_t>(
                      {list.formatBlock.width, list.formatBlock.height, list.formatBlock.format}),
                  std::vector<uint32_t>({640, 481, format}));
        ASSERT_EQ(list.numberOfPlanes, layouts.size());
        for (uint32_t p = 0; p < IXO_MAX_PLANES; ++p) {
            const IxoPlaneLayout want = p < layouts.size() ? layouts[p] : IxoPlaneLayout{};
            const IxoPlaneLayout& got = list.formatBlock.planeLayout[p];
            EXPECT_EQ(std::vector<uint32_t>({got.height, got.stride, got.scanline}),
                      std::vector<uint32_t>({want.height, want.stride, want.scanline}))
                << "format " << format << " plane " << p;
            EXPECT_EQ(list.planeSize[p], uint64_t{want.stride} * want.scanline);
        }
    }

    ASSERT_TRUE(DescribeImage(Geometry(IxoFormatNV12, 100, 30), &list));
    EXPECT_EQ(list.formatBlock.planeLayout[0].stride, 128u) << "width aligned up to 64";
    EXPECT_EQ(list.formatBlock.planeLayout[0].scanline, 30u);
    for (const ImageGeometry& bad :
         {Geometry(IxoFormatNV12, 100, 30, 99), Geometry(IxoFormatNV12, 100, 30, 100, 29),
          Geometry(5, 100, 30), Geometry(IxoFormatY8, 0, 30)}) {
        EXPECT_FALSE(DescribeImage(bad, &list));
    }
    EXPECT_EQ(list.formatBlock.planeLayout[0].stride, 128u) << "a refused geometry changes nothing";
    const int descriptors = OpenDescriptorCount();
    CameraBufferConfig config;
    config.geometry = Geometry(IxoFormatNV12, 100, 30, 99);
    EXPECT_EQ(CameraBuffer::Create(config), nullptr);
    EXPECT_EQ(ImageBuffer::Create(config), nullptr);
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
}

// Both descriptor layouts and every handle mode: memory written through pAddr is what a fresh
// mapping of the handle's descriptors shows, and destruction closes every descriptor.
TEST(CameraBuffer, PlanesLiveInTheHandlesDescriptors) {
    for (uint32_t format : {IxoFormatY8, IxoFormatNV12, IxoFormatNV21, IxoFormatYUV420P}) {
        for (bool perPlane : {false, true}) {
            SCOPED_TRACE(testing::Message() << "format " << format << " perPlane " << perPlane);
            const int descriptorsBefore = OpenDescriptorCount();
            CameraBufferConfig config = Config(format, perPlane);
            config.ints = {7, -3};
            std::unique_ptr<CameraBuffer> buffer = CameraBuffer::Create(config);
            ASSERT_NE(buffer, nullptr);
            const uint32_t planes = buffer->numberOfPlanes;
            const int fds = perPlane ? static_cast<int>(planes) : 1;
            IxoImageList* pList = buffer.get();  // reached through the base, as a node does
            ASSERT_NE(pList->GetHandleAddress(), nullptr);
            const native_handle_t* pHandle =
                *static_cast<native_handle_t**>(pList->GetHandleAddress());
            ASSERT_EQ(pHandle, buffer->Handle());
            ASSERT_EQ(pHandle->numFds, fds);
            ASSERT_EQ(pHandle->numInts, 2);
            EXPECT_EQ(std::vector<int>(pHandle->data + fds, pHandle->data + fds + 2),
                      std::vector<int>({7, -3}));
            EXPECT_EQ(OpenDescriptorCount(), descriptorsBefore + fds);
            size_t total = 0;
            for (int i = 0; i < fds; ++i) {
                EXPECT_TRUE(fcntl(pHandle->data[i], F_GETFD) & FD_CLOEXEC);
                total += DescriptorSize(pHandle->data[i]);
            }
            EXPECT_EQ(total, buffer->TotalSize());
            for (uint32_t p = 0; p < planes; ++p) {
                const int fd = buffer->PlaneDescriptor(p);
                EXPECT_EQ(fd, pHandle->data[perPlane ? p : 0]);
                ExpectWrittenThroughMapping(buffer->pAddr[0][p], buffer->planeSize[p], p, fd,
                                            buffer->PlaneOffset(p));
            }
            const std::vector<int> handleFds(pHandle->data, pHandle->data + fds);
            buffer.reset();
            EXPECT_EQ(OpenDescriptorCount(), descriptorsBefore);
            for (int fd : handleFds) EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "fd " << fd;
        }
    }
}

TEST(ImageBuffer, WrapsACameraBufferAndAnInternalMemfd) {
    const int descriptorsBefore = OpenDescriptorCount();
    for (PixelSource pixels : {PixelSource::Camera, PixelSource::Internal}) {
        std::unique_ptr<ImageBuffer> image =
            ImageBuffer::Create(Config(IxoFormatYUV420P, true), pixels);
        ASSERT_NE(image, nullptr);
        CameraBuffer* pCamera = image->Camera();
        ASSERT_EQ(image->pImageList, pCamera);
        EXPECT_EQ(image->GetHandleAddress(), nullptr);
        EXPECT_EQ(OpenDescriptorCount(), descriptorsBefore + 4);  // three planes + internal
        EXPECT_TRUE(fcntl(image->bufferFd, F_GETFD) & FD_CLOEXEC);
        EXPECT_EQ(DescriptorSize(image->bufferFd), pCamera->TotalSize());
        EXPECT_EQ(memcmp(&image->formatBlock, &pCamera->formatBlock, sizeof(IxoImageFormat)), 0);
        ASSERT_EQ(image->numberOfPlanes, 3u);
        size_t offset = 0;
        for (uint32_t p = 0; p < 3; ++p) {
            EXPECT_EQ(image->planeSize[p], pCamera->planeSize[p]);
            const bool inCamera = pixels == PixelSource::Camera;
            ExpectWrittenThroughMapping(image->pAddr[0][p], image->planeSize[p], p,
                                        inCamera ? pCamera->PlaneDescriptor(p) : image->bufferFd,
                                        inCamera ? 0 : offset);
            offset += image->planeSize[p];
        }
    }
    EXPECT_EQ(OpenDescriptorCount(), descriptorsBefore);
}

}  // namespace
