// Tests of the preview picture: PNG validity and size, layout markers, colour conversion, limits.
#include "media/preview.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>

#include "descriptors.h"
#include "has_text.h"
#include "media/y4m.h"
#include "temp_dir.h"

namespace {

using media::PreviewBuilder;
using media::PreviewOptions;

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;
    const uint8_t* At(int x, int y) const { return &rgb[(size_t(y) * width + x) * 3]; }
};

// Decodes a PNG with libpng; an invalid file fails the calling test.
Picture ReadPng(const std::string& path) {
    Picture picture;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str())) {
        image.format = PNG_FORMAT_RGB;
        picture.rgb.resize(PNG_IMAGE_SIZE(image));
        picture.width = static_cast<int>(image.width);
        picture.height = static_cast<int>(image.height);
        if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr)) return picture;
    }
    ADD_FAILURE() << "not a readable PNG: " << image.message;
    png_image_free(&image);
    return Picture();
}

// A flat I420 frame.
std::vector<uint8_t> Flat(int w, int h, uint8_t y, uint8_t u, uint8_t v) {
    std::vector<uint8_t> frame(media::I420FrameSize(w, h), y);
    std::fill(frame.begin() + w * h, frame.begin() + w * h + (w / 2) * (h / 2), u);
    std::fill(frame.begin() + w * h + (w / 2) * (h / 2), frame.end(), v);
    return frame;
}

TEST(PreviewTest, ConvertsBt601LimitedRangeAndAveragesWhenScaling) {
    auto expectColour = [](const uint8_t* rgb, int r, int g, int b, int tolerance) {
        EXPECT_NEAR(rgb[0], r, tolerance);
        EXPECT_NEAR(rgb[1], g, tolerance);
        EXPECT_NEAR(rgb[2], b, tolerance);
    };
    const struct {
        uint8_t y, u, v;
        int r, g, b, tolerance;
    } cases[] = {{235, 128, 128, 255, 255, 255, 1},
                 {16, 128, 128, 0, 0, 0, 1},
                 {81, 90, 240, 255, 0, 0, 3},    // BT.601 red
                 {41, 240, 110, 0, 0, 255, 3}};  // BT.601 blue
    uint8_t rgb[6];
    for (const auto& c : cases) {
        media::I420ToRgbThumbnail(Flat(4, 2, c.y, c.u, c.v).data(), 4, 2, 1, 1, rgb);
        expectColour(rgb, c.r, c.g, c.b, c.tolerance);
    }
    // Left half black, right half white: two output pixels keep the halves apart, one averages.
    auto frame = Flat(4, 2, 16, 128, 128);
    for (int y = 0; y < 2; ++y) frame[y * 4 + 2] = frame[y * 4 + 3] = 235;
    media::I420ToRgbThumbnail(frame.data(), 4, 2, 2, 1, rgb);
    expectColour(rgb, 0, 0, 0, 1);
    expectColour(rgb + 3, 255, 255, 255, 1);
    media::I420ToRgbThumbnail(frame.data(), 4, 2, 1, 1, rgb);
    expectColour(rgb, 128, 128, 128, 2);
}

// Three rows of one input and three made frames: the PNG has the builder's size, every picture
// shows its own frame, and input and made frames carry different border colours. A sheet
// without frames or without a folder to go to is not written.
TEST(PreviewTest, WritesASheetWithOneRowPerInputFrame) {
    testsupport::TempDir dir;
    const int fds = testsupport::OpenDescriptorCount();
    PreviewOptions options;
    options.thumbnailWidth = 80;
    PreviewBuilder builder(320, 180, options);
    EXPECT_TRUE(builder.empty());
    std::string error;
    EXPECT_FALSE(builder.WritePng(dir.File("empty.png"), &error));
    EXPECT_TRUE(testsupport::Has(error, "no frames"));
    EXPECT_EQ(builder.thumbnailHeight(), 45);
    const auto white = Flat(320, 180, 235, 128, 128), black = Flat(320, 180, 16, 128, 128);
    for (int i = 0; i < 12; ++i) builder.Add(i % 4 == 0 ? white.data() : black.data(), i % 4 == 0);
    EXPECT_FALSE(builder.full());
    EXPECT_FALSE(builder.WritePng(dir.File("missing/preview.png"), &error));
    EXPECT_TRUE(testsupport::Has(error, "missing"));
    ASSERT_TRUE(builder.WritePng(dir.File("preview.png"), &error)) << error;
    const Picture picture = ReadPng(dir.File("preview.png"));
    ASSERT_EQ(picture.width, builder.imageWidth());
    ASSERT_EQ(picture.height, builder.imageHeight());
    // Four pictures side by side and three rows, plus borders, labels and separators.
    EXPECT_GT(picture.width, 4 * 80);
    EXPECT_LT(picture.width, 4 * 80 + 80);
    EXPECT_GT(picture.height, 3 * 45);
    EXPECT_LT(picture.height, 3 * 45 + 120);

    // Each picture starts a run of white or black across the middle of its row band.
    for (int row = 0; row < 3; ++row) {
        const int y = picture.height * (2 * row + 1) / 6 - 4;
        std::vector<std::pair<int, bool>> runs;  // start, is white
        for (int x = 0; x < picture.width; ++x) {
            const uint8_t* p = picture.At(x, y);
            const bool isWhite = p[0] > 250 && p[1] > 250 && p[2] > 250;
            const bool isBlack = p[0] < 5 && p[1] < 5 && p[2] < 5;
            if ((isWhite || isBlack) && (x == 0 || memcmp(p, picture.At(x - 1, y), 3) != 0)) {
                runs.push_back({x, isWhite});
            }
        }
        ASSERT_EQ(runs.size(), 4u) << "row " << row;
        // The border colour just left of each picture tells input (green) from made (orange).
        const uint8_t* inputBorder = picture.At(runs[0].first - 1, y);
        const uint8_t* madeBorder = picture.At(runs[1].first - 1, y);
        EXPECT_TRUE(runs[0].second);
        EXPECT_GT(inputBorder[1], inputBorder[0]);
        EXPECT_GT(madeBorder[0], madeBorder[2]);
        for (int c = 1; c < 4; ++c) {
            EXPECT_FALSE(runs[c].second);
            EXPECT_EQ(memcmp(picture.At(runs[c].first - 1, y), madeBorder, 3), 0);
        }
    }
    EXPECT_EQ(dir.Entries(), std::vector<std::string>{"preview.png"});
    EXPECT_EQ(testsupport::OpenDescriptorCount(), fds);
}

TEST(PreviewTest, StopsAtTheRowAndColumnLimits) {
    PreviewOptions options;
    options.maxRows = 2;
    options.maxColumns = 3;
    PreviewBuilder builder(64, 36, options);
    EXPECT_EQ(builder.thumbnailWidth(), 64);  // never enlarged
    const auto frame = Flat(64, 36, 128, 128, 128);
    builder.Add(frame.data(), true);
    const int oneColumn = builder.imageWidth();
    const int oneRow = builder.imageHeight();
    for (int i = 0; i < 5; ++i) builder.Add(frame.data(), false);  // only two more fit the row
    const int threeColumns = builder.imageWidth();
    EXPECT_EQ((threeColumns - oneColumn) % 2, 0);  // two equal cells were added
    EXPECT_GT(threeColumns, oneColumn);
    builder.Add(frame.data(), true);
    const int twoRows = builder.imageHeight();
    EXPECT_GT(twoRows, oneRow);
    builder.Add(frame.data(), true);  // a third row does not fit
    EXPECT_TRUE(builder.full());
    for (int i = 0; i < 3; ++i) builder.Add(frame.data(), i == 0);
    EXPECT_EQ(builder.imageWidth(), threeColumns);
    EXPECT_EQ(builder.imageHeight(), twoRows);
}

TEST(PreviewTest, CropModeShowsTheFrameCentreAtFullSize) {
    const int w = 100, h = 60;
    // Every sample differs: a crop from the wrong place or at the wrong scale shows.
    std::vector<uint8_t> frame(media::I420FrameSize(w, h));
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(i * 7 + i / 13);
    PreviewOptions options;
    options.thumbnailWidth = 40;
    options.firstInputIndex = 120;
    PreviewBuilder reference(40, 20, options);
    options.cropHeight = 20;
    PreviewBuilder crops(w, h, options);
    EXPECT_EQ(crops.thumbnailWidth(), 40);
    EXPECT_EQ(crops.thumbnailHeight(), 20);
    crops.Add(frame.data(), true);
    // The same centre, cut by hand (from x 30, y 20) and shown unscaled.
    std::vector<uint8_t> centre(media::I420FrameSize(40, 20));
    for (int y = 0; y < 20; ++y) {
        std::copy_n(frame.begin() + (20 + y) * w + 30, 40, centre.begin() + y * 40);
    }
    for (int plane = 0; plane < 2; ++plane) {
        const size_t in = size_t(w) * h + size_t(plane) * (w / 2) * (h / 2);
        const size_t out = 40 * 20 + size_t(plane) * 20 * 10;
        for (int y = 0; y < 10; ++y) {
            std::copy_n(frame.begin() + in + (10 + y) * (w / 2) + 15, 20,
                        centre.begin() + out + y * 20);
        }
    }
    reference.Add(centre.data(), true);
    EXPECT_EQ(crops.RenderRgb(), reference.RenderRgb());
}

}  // namespace
