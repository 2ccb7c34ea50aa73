// Tests of CopyImage on real pixel memory, compared byte for byte: plain copies by the source's
// plane sizes, row-by-row copies for formats 1, 3 and 4 when the layouts differ (destination
// geometry kept, plane 1 recorded at half), identical addresses skipped with a warning, and the
// argument checks that leave the destination untouched.
#include <cstring>

#include "buffer_path_fixture.h"

namespace vpptest {
namespace {

using camera_host::ImageGeometry;
using camera_host::PlainImageList;

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kUntouched = 0xEE;

ImageGeometry Geometry(uint32_t format, uint32_t width, uint32_t height, uint32_t stride,
                       uint32_t scanline = 0) {
    ImageGeometry geometry;
    geometry.format = format;
    geometry.width = width;
    geometry.height = height;
    geometry.stride = stride;
    geometry.scanline = scanline;
    return geometry;
}

std::unique_ptr<PlainImageList> MakeList(const ImageGeometry& geometry, uint32_t images = 1) {
    std::unique_ptr<PlainImageList> list = PlainImageList::Create(geometry, images);
    EXPECT_NE(list, nullptr);
    return list;
}

// What an image list looked like at one moment: its record and its pixels.
struct Snapshot {
    IxoImageFormat formatBlock;
    uint32_t numberOfPlanes;
    uint64_t planeSize[IXO_MAX_PLANES];
    uint32_t numberOfImages;
    uint8_t* pAddr[IXO_MAX_IMAGES][IXO_MAX_PLANES];
    std::vector<std::vector<Bytes>> pixels;  // [image][plane], by the sizes at that moment

    bool SameRecord(const IxoImageList& list) const {
        return std::memcmp(&formatBlock, &list.formatBlock, sizeof(formatBlock)) == 0 &&
               numberOfPlanes == list.numberOfPlanes &&
               std::memcmp(planeSize, list.planeSize, sizeof(planeSize)) == 0 &&
               numberOfImages == list.numberOfImages &&
               std::memcmp(pAddr, list.pAddr, sizeof(pAddr)) == 0;
    }
};

Snapshot Take(const PlainImageList& list, uint32_t images) {
    Snapshot snapshot;
    snapshot.formatBlock = list.formatBlock;
    snapshot.numberOfPlanes = list.numberOfPlanes;
    std::memcpy(snapshot.planeSize, list.planeSize, sizeof(snapshot.planeSize));
    snapshot.numberOfImages = list.numberOfImages;
    std::memcpy(snapshot.pAddr, list.pAddr, sizeof(snapshot.pAddr));
    for (uint32_t k = 0; k < images; k++) {
        snapshot.pixels.emplace_back();
        for (uint32_t p = 0; p < list.numberOfPlanes; p++) {
            const uint8_t* pPlane = list.PlaneAddress(k, p);
            snapshot.pixels.back().emplace_back(pPlane, pPlane + list.planeSize[p]);
        }
    }
    return snapshot;
}

// Fills every plane with bytes that differ by image, plane and position (no period of a row).
void FillPattern(PlainImageList& list, uint32_t images, uint8_t seed) {
    for (uint32_t k = 0; k < images; k++) {
        for (uint32_t p = 0; p < list.numberOfPlanes; p++) {
            uint8_t* pPlane = list.PlaneAddress(k, p);
            for (uint64_t i = 0; i < list.planeSize[p]; i++) {
                pPlane[i] = static_cast<uint8_t>(seed + 31 * k + 71 * p + i * 7 + i / 251);
            }
        }
    }
}

void FillUntouched(PlainImageList& list, uint32_t images) {
    for (uint32_t k = 0; k < images; k++) {
        for (uint32_t p = 0; p < list.numberOfPlanes; p++) {
            std::memset(list.PlaneAddress(k, p), kUntouched, list.planeSize[p]);
        }
    }
}

Bytes PlaneBytes(const PlainImageList& list, uint32_t image, uint32_t plane, size_t size) {
    const uint8_t* pPlane = list.PlaneAddress(image, plane);
    return Bytes(pPlane, pPlane + size);
}

// A destination plane after rows of rowLength bytes were copied at the two strides.
Bytes RowsCopied(const Bytes& source, size_t destinationSize, uint32_t rows, uint32_t rowLength,
                 uint32_t sourceStride, uint32_t destinationStride) {
    Bytes expected(destinationSize, kUntouched);
    for (uint32_t r = 0; r < rows; r++) {
        std::memcpy(&expected[r * destinationStride], &source[r * sourceStride], rowLength);
    }
    return expected;
}

void ExpectLayout(const IxoPlaneLayout& layout, uint32_t height, uint32_t stride,
                  uint32_t scanline) {
    EXPECT_EQ(layout.height, height);
    EXPECT_EQ(layout.stride, stride);
    EXPECT_EQ(layout.scanline, scanline);
}

using CopyImageTest = BufferPathTest;

TEST_F(CopyImageTest, NullArgumentIsAnInvalidPointer) {
    auto list = MakeList(Geometry(IxoFormatNV12, 64, 32, 64));
    const Snapshot before = Take(*list, 1);
    const std::string address = Ptr(list.get());

    StartCapture();
    EXPECT_EQ(node->CopyImage(nullptr, list.get()), LumResultEInvalidPointer);
    EXPECT_EQ(node->CopyImage(list.get(), nullptr), LumResultEInvalidPointer);
    EXPECT_EQ(node->CopyImage(nullptr, nullptr), LumResultEInvalidPointer);

    // The one line without brackets around the node name; "%pK" prints the pointer and a K.
    ExpectLog({
        Node('E', "CopyImage",
             "BufNode NULL pointer sent, hInput:" + address + "K, hOutput:(nil)K"),
        Node('E', "CopyImage",
             "BufNode NULL pointer sent, hInput:(nil)K, hOutput:" + address + "K"),
        Node('E', "CopyImage", "BufNode NULL pointer sent, hInput:(nil)K, hOutput:(nil)K"),
    });
    EXPECT_TRUE(before.SameRecord(*list));
}

TEST_F(CopyImageTest, SameLayoutCopiesEveryPlaneWhole) {
    auto input = MakeList(Geometry(IxoFormatNV12, 64, 32, 64), 2);
    auto output = MakeList(Geometry(IxoFormatNV12, 64, 32, 64), 2);
    FillPattern(*input, 2, 1);
    FillUntouched(*output, 2);
    const Snapshot source = Take(*input, 2);

    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

    for (uint32_t k = 0; k < 2; k++) {
        for (uint32_t p = 0; p < 2; p++) {
            EXPECT_EQ(PlaneBytes(*output, k, p, input->planeSize[p]), source.pixels[k][p])
                << "image " << k << " plane " << p;
        }
    }
    EXPECT_TRUE(source.SameRecord(*input));
    EXPECT_EQ(std::memcmp(&output->formatBlock, &input->formatBlock, sizeof(IxoImageFormat)), 0);
    ExpectLog({});
}

TEST_F(CopyImageTest, OtherFormatsCopyWholePlanesBySourceSizesDespiteDifferentStrides) {
    struct Case {
        uint32_t format;      // written into the source's format block
        uint32_t listFormat;  // what the lists are built as
    };
    for (const Case& c : {Case{IxoFormatYUV420P, IxoFormatYUV420P}, Case{9, IxoFormatNV12},
                          Case{IxoFormatUnknown, IxoFormatNV12}}) {
        SCOPED_TRACE(c.format);
        auto input = MakeList(Geometry(c.listFormat, 64, 32, 64));
        auto output = MakeList(Geometry(c.listFormat, 64, 32, 128, 40));
        input->formatBlock.format = c.format;
        FillPattern(*input, 1, 2);
        FillUntouched(*output, 1);
        const Snapshot source = Take(*input, 1);
        const Snapshot destination = Take(*output, 1);

        EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

        for (uint32_t p = 0; p < input->numberOfPlanes; p++) {
            // The source's size of bytes, the rest of the larger destination plane untouched.
            Bytes expected = destination.pixels[0][p];
            std::memcpy(expected.data(), source.pixels[0][p].data(), source.pixels[0][p].size());
            EXPECT_EQ(PlaneBytes(*output, 0, p, destination.planeSize[p]), expected)
                << "plane " << p;
        }
        // The destination takes the source's geometry whole.
        EXPECT_EQ(std::memcmp(&output->formatBlock, &input->formatBlock, sizeof(IxoImageFormat)),
                  0);
        EXPECT_EQ(std::memcmp(output->planeSize, input->planeSize, sizeof(input->planeSize)), 0);
        EXPECT_EQ(output->numberOfPlanes, input->numberOfPlanes);
        EXPECT_EQ(output->numberOfImages, 1u);
    }
}

TEST_F(CopyImageTest, Nv12WithDifferentStridesIsCopiedRowByRow) {
    // Source rows of 96 bytes over 40 scanlines, destination rows of 128 over 48: 32 rows of 96
    // bytes for the luma plane, 16 for the chroma plane.
    auto input = MakeList(Geometry(IxoFormatNV12, 64, 32, 96, 40), 2);
    auto output = MakeList(Geometry(IxoFormatNV12, 80, 48, 128, 48), 2);
    FillPattern(*input, 2, 3);
    FillUntouched(*output, 2);
    const Snapshot source = Take(*input, 2);
    const Snapshot destination = Take(*output, 2);

    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

    for (uint32_t k = 0; k < 2; k++) {
        SCOPED_TRACE(k);
        EXPECT_EQ(PlaneBytes(*output, k, 0, destination.planeSize[0]),
                  RowsCopied(source.pixels[k][0], destination.planeSize[0], 32, 96, 96, 128));
        EXPECT_EQ(PlaneBytes(*output, k, 1, destination.planeSize[1]),
                  RowsCopied(source.pixels[k][1], destination.planeSize[1], 16, 96, 96, 128));
    }
    // Plane 0 keeps the destination's geometry, plane 1 is recorded at half of it; the rest of
    // the record is the source's.
    ExpectLayout(output->formatBlock.planeLayout[0], 48, 128, 48);
    ExpectLayout(output->formatBlock.planeLayout[1], 24, 64, 24);
    EXPECT_EQ(output->formatBlock.width, 64u);
    EXPECT_EQ(output->formatBlock.height, 32u);
    EXPECT_EQ(output->formatBlock.format, static_cast<uint32_t>(IxoFormatNV12));
    EXPECT_EQ(std::memcmp(output->planeSize, input->planeSize, sizeof(input->planeSize)), 0);
    EXPECT_EQ(output->numberOfImages, 2u);
    EXPECT_EQ(output->numberOfPlanes, 2u);
    EXPECT_TRUE(source.SameRecord(*input));
    ExpectLog({});
}

// The other row-by-row cases: a scanline difference alone, a destination shorter than the
// source (its height bounds the rows), format 1 (plane 1 neither copied nor re-described) and a
// single row (plane 1 skipped, its half layout still recorded).
TEST_F(CopyImageTest, RowByRowCopiesBoundRowsAndPlanes) {
    struct Layout {
        uint32_t height, stride, scanline;
    };
    struct Case {
        const char* name;
        ImageGeometry input, output;
        uint32_t sourceFormat;  // written into the source's format block
        uint32_t rows0, rows1;  // rows copied per plane (0: plane left untouched)
        Layout layout0, layout1;
    };
    const Case cases[] = {
        {"nv21 scanlines",
         Geometry(IxoFormatNV21, 64, 32, 64, 40),
         Geometry(IxoFormatNV21, 64, 20, 64, 30),
         IxoFormatNV21,
         20,
         10,
         {20, 64, 30},
         {10, 32, 15}},
        {"format 1",
         Geometry(IxoFormatNV12, 64, 32, 64),
         Geometry(IxoFormatNV12, 64, 32, 80),
         IxoFormatY8,
         32,
         0,
         {32, 80, 32},
         {16, 64, 16}},
        {"single row",
         Geometry(IxoFormatNV12, 64, 1, 64),
         Geometry(IxoFormatNV12, 64, 5, 128),
         IxoFormatNV12,
         1,
         0,
         {5, 128, 5},
         {2, 64, 2}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto input = MakeList(c.input);
        auto output = MakeList(c.output);
        input->formatBlock.format = c.sourceFormat;
        FillPattern(*input, 1, 4);
        FillUntouched(*output, 1);
        const Snapshot source = Take(*input, 1);
        const Snapshot destination = Take(*output, 1);

        EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

        const uint32_t rows[] = {c.rows0, c.rows1};
        for (uint32_t p = 0; p < 2; p++) {
            const Bytes expected =
                rows[p] == 0 ? destination.pixels[0][p]
                             : RowsCopied(source.pixels[0][p], destination.planeSize[p], rows[p],
                                          c.input.stride, c.input.stride, c.output.stride);
            EXPECT_EQ(PlaneBytes(*output, 0, p, destination.planeSize[p]), expected)
                << "plane " << p;
        }
        ExpectLayout(output->formatBlock.planeLayout[0], c.layout0.height, c.layout0.stride,
                     c.layout0.scanline);
        ExpectLayout(output->formatBlock.planeLayout[1], c.layout1.height, c.layout1.stride,
                     c.layout1.scanline);
    }
}

TEST_F(CopyImageTest, IdenticalAddressesAreSkippedWithOneWarningEach) {
    auto input = MakeList(Geometry(IxoFormatNV12, 64, 32, 64), 2);
    auto output = MakeList(Geometry(IxoFormatNV12, 64, 32, 64), 2);
    FillPattern(*input, 2, 7);
    FillUntouched(*output, 2);
    output->pAddr[0][1] = input->pAddr[0][1];
    output->pAddr[1][0] = input->pAddr[1][0];
    const Snapshot source = Take(*input, 2);

    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

    const auto warning = [&](uint32_t k, uint32_t p) {
        return Node('W', "CopyImage",
                    "[BufNode] Output ImageList pAddr: " + Ptr(output->pAddr[k][p]) +
                        ", Input ImageList pAddr: " + Ptr(input->pAddr[k][p]) +
                        " same, avoiding copy");
    };
    ExpectLog({warning(0, 1), warning(1, 0)});
    EXPECT_EQ(PlaneBytes(*output, 0, 0, 2048), source.pixels[0][0]);
    EXPECT_EQ(PlaneBytes(*output, 1, 1, 1024), source.pixels[1][1]);
    // The skipped planes' own memory was not written, and the shared memory is unchanged.
    EXPECT_EQ(PlaneBytes(*output, 0, 1, 1024), Bytes(1024, kUntouched));
    EXPECT_EQ(PlaneBytes(*output, 1, 0, 2048), Bytes(2048, kUntouched));
    EXPECT_TRUE(source.SameRecord(*input));
    EXPECT_EQ(PlaneBytes(*input, 0, 1, 1024), source.pixels[0][1]);
    EXPECT_EQ(PlaneBytes(*input, 1, 0, 2048), source.pixels[1][0]);

    // The same list as both arguments: every plane of every image warns.
    StartCapture();
    EXPECT_EQ(node->CopyImage(input.get(), input.get()), LumResultSuccess);
    std::vector<ExpectedLine> expected;
    for (uint32_t k = 0; k < 2; k++) {
        for (uint32_t p = 0; p < 2; p++) {
            const std::string address = Ptr(input->pAddr[k][p]);
            expected.push_back(Node('W', "CopyImage",
                                    "[BufNode] Output ImageList pAddr: " + address +
                                        ", Input ImageList pAddr: " + address +
                                        " same, avoiding copy"));
        }
    }
    ExpectLog(expected);
}

TEST_F(CopyImageTest, DestinationWithFewerPlanesIsLeftUntouched) {
    auto input = MakeList(Geometry(IxoFormatYUV420P, 64, 32, 64));
    auto output = MakeList(Geometry(IxoFormatNV12, 64, 32, 128));
    FillPattern(*input, 1, 8);
    FillUntouched(*output, 1);
    const Snapshot destination = Take(*output, 1);

    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultEInvalidArg);

    ExpectLog({Node('E', "CopyImage",
                    "[BufNode] Invalid argument: output numberOfPlanes is smaller than input")});
    EXPECT_TRUE(destination.SameRecord(*output));
    EXPECT_EQ(Take(*output, 1).pixels, destination.pixels);
}

TEST_F(CopyImageTest, NoImagesTakesOverTheRecordAndCopiesNothing) {
    auto input = MakeList(Geometry(IxoFormatYUV420P, 64, 32, 64), 0);
    auto output = MakeList(Geometry(IxoFormatYUV420P, 96, 48, 128), 1);
    FillUntouched(*output, 1);
    const Snapshot destination = Take(*output, 1);

    StartCapture();
    EXPECT_EQ(node->CopyImage(output.get(), input.get()), LumResultSuccess);

    EXPECT_EQ(std::memcmp(&output->formatBlock, &input->formatBlock, sizeof(IxoImageFormat)), 0);
    EXPECT_EQ(std::memcmp(output->planeSize, input->planeSize, sizeof(input->planeSize)), 0);
    EXPECT_EQ(output->numberOfImages, 0u);
    EXPECT_EQ(output->numberOfPlanes, 3u);
    EXPECT_EQ(std::memcmp(output->pAddr, destination.pAddr, sizeof(destination.pAddr)), 0);
    for (uint32_t p = 0; p < 3; p++) {
        EXPECT_EQ(PlaneBytes(*output, 0, p, destination.planeSize[p]), destination.pixels[0][p]);
    }
    ExpectLog({});
}

}  // namespace
}  // namespace vpptest
