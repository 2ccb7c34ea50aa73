// CopyImage on real pixel memory, compared byte for byte: whole planes by the source's sizes,
// row by row for formats 1, 3 and 4 when the layouts differ (destination geometry kept, plane 1
// recorded at half), identical addresses skipped with a warning, and the argument checks.
#include <cstring>

#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::ImageGeometry;
using camera_host::PlainImageList;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t kUntouched = 0xEE;

Bytes PlaneBytes(const PlainImageList& list, uint32_t image, uint32_t plane) {
    const uint8_t* pPlane = list.PlaneAddress(image, plane);
    return Bytes(pPlane, pPlane + list.planeSize[plane]);
}

// A list whose every plane holds bytes that differ by image, plane and position (seed != 0), or
// kUntouched (seed 0).
std::unique_ptr<PlainImageList> MakeList(const ImageGeometry& geometry, uint32_t images,
                                         uint8_t seed) {
    std::unique_ptr<PlainImageList> list = PlainImageList::Create(geometry, images);
    EXPECT_NE(list, nullptr);
    for (uint32_t k = 0; k < images; k++) {
        for (uint32_t p = 0; p < list->numberOfPlanes; p++) {
            uint8_t* pPlane = list->PlaneAddress(k, p);
            for (uint64_t i = 0; i < list->planeSize[p]; i++) {
                pPlane[i] = seed == 0 ? kUntouched : seed + 31 * k + 71 * p + i * 7 + i / 251;
            }
        }
    }
    return list;
}

bool SameFormat(const IxoImageList& a, const IxoImageList& b) {
    return std::memcmp(&a.formatBlock, &b.formatBlock, sizeof(IxoImageFormat)) == 0 &&
           std::memcmp(a.planeSize, b.planeSize, sizeof(a.planeSize)) == 0 &&
           a.numberOfPlanes == b.numberOfPlanes && a.numberOfImages == b.numberOfImages;
}

using CopyImageTest = BufferPathTest;

// Same layout, or a format copied whole (YUV420P, unknown, out of range): every plane by the
// source's size, the rest of a larger destination untouched; the record is the source's.
TEST_F(CopyImageTest, WholePlanesBySourceSizes) {
    const struct {
        uint32_t sourceFormat, listFormat, outputStride, outputScanline;
    } cases[] = {{IxoFormatNV12, IxoFormatNV12, 64, 0},
                 {IxoFormatYUV420P, IxoFormatYUV420P, 128, 40},
                 {9, IxoFormatNV12, 128, 40},
                 {IxoFormatUnknown, IxoFormatNV12, 128, 40}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sourceFormat);
        auto input = MakeList(ImageGeometry{64, 32, c.listFormat, 64}, 2, 2);
        auto output =
            MakeList(ImageGeometry{64, 32, c.listFormat, c.outputStride, c.outputScanline}, 2, 0);
        input->formatBlock.format = c.sourceFormat;
        std::vector<Bytes> expected;
        for (uint32_t k = 0; k < 2; k++) {
            for (uint32_t p = 0; p < input->numberOfPlanes; p++) {
                expected.push_back(PlaneBytes(*output, k, p));
                const Bytes source = PlaneBytes(*input, k, p);
                std::copy(source.begin(), source.end(), expected.back().begin());
            }
        }
        uint64_t sizes[IXO_MAX_PLANES];
        std::memcpy(sizes, output->planeSize, sizeof(sizes));
        StartCapture();
        EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);
        ExpectLog({});
        EXPECT_TRUE(SameFormat(*output, *input));
        std::memcpy(output->planeSize, sizes, sizeof(sizes));
        size_t i = 0;
        for (uint32_t k = 0; k < 2; k++) {
            for (uint32_t p = 0; p < input->numberOfPlanes; p++) {
                EXPECT_EQ(PlaneBytes(*output, k, p), expected[i++]) << k << " " << p;
            }
        }
    }
}

// Row by row: NV12 with other strides (plane 1 over half the rows), a scanline difference alone
// with a shorter destination (its height bounds the rows), format 1 (plane 1 neither copied nor
// described) and a single row (plane 1 skipped, its half layout still recorded). Plane 0 keeps the
// destination's geometry; the rest of the record is the source's.
TEST_F(CopyImageTest, RowByRowCopiesBoundRowsAndPlanes) {
    const struct {
        uint32_t format, sourceFormat;
        uint32_t input[4], output[4];  // width, height, stride, scanline
        uint32_t rows0, rows1;         // rows copied per plane (0: plane left untouched)
        IxoPlaneLayout layout1;
    } cases[] = {
        {IxoFormatNV12, IxoFormatNV12, {64, 32, 96, 40}, {80, 48, 128, 48}, 32, 16, {24, 64, 24}},
        {IxoFormatNV21, IxoFormatNV21, {64, 32, 64, 40}, {64, 20, 64, 30}, 20, 10, {10, 32, 15}},
        {IxoFormatNV12, IxoFormatY8, {64, 32, 64, 0}, {64, 32, 80, 0}, 32, 0, {16, 64, 16}},
        {IxoFormatNV12, IxoFormatNV12, {64, 1, 64, 0}, {64, 5, 128, 0}, 1, 0, {2, 64, 2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const ImageGeometry in{c.input[0], c.input[1], c.format, c.input[2], c.input[3]};
        const ImageGeometry out{c.output[0], c.output[1], c.format, c.output[2], c.output[3]};
        auto input = MakeList(in, 2, 4);
        auto output = MakeList(out, 2, 0);
        input->formatBlock.format = c.sourceFormat;
        const IxoPlaneLayout layout0 = output->formatBlock.planeLayout[0];
        const uint64_t planeSizes[] = {output->planeSize[0], output->planeSize[1]};
        std::vector<Bytes> expected;
        const uint32_t rows[] = {c.rows0, c.rows1};
        for (uint32_t i = 0; i < 4; i++) {
            const Bytes source = PlaneBytes(*input, i / 2, i % 2);
            expected.push_back(PlaneBytes(*output, i / 2, i % 2));
            for (uint32_t r = 0; r < rows[i % 2]; r++) {
                std::memcpy(&expected[i][r * out.stride], &source[r * in.stride], in.stride);
            }
        }
        StartCapture();
        EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);
        ExpectLog({});
        const IxoPlaneLayout& got0 = output->formatBlock.planeLayout[0];
        const IxoPlaneLayout& got1 = output->formatBlock.planeLayout[1];
        EXPECT_EQ(std::make_tuple(got0.height, got0.stride, got0.scanline),
                  std::make_tuple(layout0.height, layout0.stride, layout0.scanline));
        EXPECT_EQ(std::make_tuple(got1.height, got1.stride, got1.scanline),
                  std::make_tuple(c.layout1.height, c.layout1.stride, c.layout1.scanline));
        EXPECT_EQ(output->formatBlock.width, in.width);
        EXPECT_EQ(output->formatBlock.height, in.height);
        EXPECT_EQ(output->formatBlock.format, c.sourceFormat);
        EXPECT_EQ(std::memcmp(output->planeSize, input->planeSize, sizeof(input->planeSize)), 0);
        output->planeSize[0] = planeSizes[0];
        output->planeSize[1] = planeSizes[1];
        for (uint32_t i = 0; i < 4; i++) {
            EXPECT_EQ(PlaneBytes(*output, i / 2, i % 2), expected[i])
                << "image " << i / 2 << " plane " << i % 2;
        }
    }
}

// Planes at the same address are skipped with one warning each; the others are copied.
TEST_F(CopyImageTest, IdenticalAddressesAreSkippedWithOneWarningEach) {
    auto input = MakeList(ImageGeometry{64, 32, IxoFormatNV12, 64}, 2, 7);
    auto output = MakeList(ImageGeometry{64, 32, IxoFormatNV12, 64}, 2, 0);
    output->pAddr[0][1] = input->pAddr[0][1];
    output->pAddr[1][0] = input->pAddr[1][0];
    const Bytes shared = PlaneBytes(*input, 0, 1);
    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);
    const auto warning = [&](uint32_t k, uint32_t p) {
        return Node('W', "CopyImage",
                    "[BufNode] Output ImageList pAddr: " + Ptr(output->pAddr[k][p]) +
                        ", Input ImageList pAddr: " + Ptr(input->pAddr[k][p]) +
                        " same, avoiding copy");
    };
    ExpectLog({warning(0, 1), warning(1, 0)});
    EXPECT_EQ(PlaneBytes(*output, 0, 0), PlaneBytes(*input, 0, 0));
    EXPECT_EQ(PlaneBytes(*output, 1, 1), PlaneBytes(*input, 1, 1));
    EXPECT_EQ(PlaneBytes(*input, 0, 1), shared);
    // The skipped planes' own memory was not written.
    EXPECT_EQ(PlaneBytes(*output, 0, 1), Bytes(1024, kUntouched));
    EXPECT_EQ(PlaneBytes(*output, 1, 0), Bytes(2048, kUntouched));
}

// A null list is an invalid pointer; a destination with fewer planes is refused and left as it
// was; a source without images hands over its record and copies nothing.
TEST_F(CopyImageTest, BadArgumentsRefusedNoImagesCopiesNothing) {
    auto input = MakeList(ImageGeometry{64, 32, IxoFormatYUV420P, 64}, 1, 8);
    auto output = MakeList(ImageGeometry{64, 32, IxoFormatNV12, 128}, 1, 0);
    const auto before = MakeList(ImageGeometry{64, 32, IxoFormatNV12, 128}, 1, 0);
    const std::string address = Ptr(output.get());
    StartCapture();
    EXPECT_EQ(node->CopyImage(nullptr, output.get()), LumResultEInvalidPointer);
    EXPECT_EQ(node->CopyImage(output.get(), nullptr), LumResultEInvalidPointer);
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultEInvalidArg);
    // The one line without brackets around the node name; "%pK" prints the pointer and a K.
    ExpectLog({Node('E', "CopyImage",
                    "BufNode NULL pointer sent, hInput:" + address + "K, hOutput:(nil)K"),
               Node('E', "CopyImage",
                    "BufNode NULL pointer sent, hInput:(nil)K, hOutput:" + address + "K"),
               Node('E', "CopyImage",
                    "[BufNode] Invalid argument: output numberOfPlanes is smaller than input")});
    EXPECT_TRUE(SameFormat(*output, *before));
    EXPECT_EQ(PlaneBytes(*output, 0, 0), Bytes(output->planeSize[0], kUntouched));

    auto empty = MakeList(ImageGeometry{64, 32, IxoFormatYUV420P, 64}, 0, 0);
    auto target = MakeList(ImageGeometry{96, 48, IxoFormatYUV420P, 128}, 1, 0);
    const Bytes planes[] = {PlaneBytes(*target, 0, 0), PlaneBytes(*target, 0, 1),
                            PlaneBytes(*target, 0, 2)};
    EXPECT_EQ(node->CopyImage(target.get(), empty.get()), LumResultSuccess);
    EXPECT_TRUE(SameFormat(*target, *empty));
    for (uint32_t p = 0; p < 3; p++) {
        EXPECT_EQ(std::memcmp(target->PlaneAddress(0, p), planes[p].data(), planes[p].size()), 0);
    }
}

}  // namespace
}  // namespace vpptest
