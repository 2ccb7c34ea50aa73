// Preview picture (PNG) of input frames with the frames made between them, one row per input frame.
#include "media/preview.h"

#include <png.h>

#include <algorithm>
#include <cstring>

#include "media/atomic_file.h"

namespace media {
namespace {

size_t I420FrameBytes(int width, int height) {
    return size_t(width) * height + 2 * size_t(width / 2) * (height / 2);
}

// Layout in pixels (before the label scale).
constexpr int kMargin = 6;
constexpr int kGap = 4;     // separator between pictures and rows
constexpr int kBorder = 3;  // coloured frame around each picture
constexpr uint8_t kBackground[3] = {28, 28, 32};
constexpr uint8_t kInputColour[3] = {46, 204, 64};
constexpr uint8_t kMadeColour[3] = {255, 133, 27};
constexpr uint8_t kTextColour[3] = {16, 16, 16};

// 3x5 glyphs for the label characters, one row per byte, bit 2 the leftmost pixel.
struct Glyph {
    char c;
    uint8_t rows[5];
};
constexpr Glyph kGlyphs[] = {
    {'0', {7, 5, 5, 5, 7}}, {'1', {2, 6, 2, 2, 7}}, {'2', {7, 1, 7, 4, 7}}, {'3', {7, 1, 7, 1, 7}},
    {'4', {5, 5, 7, 1, 1}}, {'5', {7, 4, 7, 1, 7}}, {'6', {7, 4, 7, 5, 7}}, {'7', {7, 1, 1, 2, 2}},
    {'8', {7, 5, 7, 5, 7}}, {'9', {7, 5, 7, 1, 7}}, {'I', {7, 2, 2, 2, 7}}, {'N', {6, 5, 5, 5, 5}},
    {'/', {1, 1, 2, 4, 4}},
};

const uint8_t* FindGlyph(char c) {
    for (const Glyph& g : kGlyphs) {
        if (g.c == c) return g.rows;
    }
    return nullptr;  // space and anything else draw nothing
}

class Canvas {
  public:
    Canvas(int width, int height)
        : width_(width), height_(height), rgb_(size_t(width) * height * 3) {
        Fill(0, 0, width, height, kBackground);
    }
    void Fill(int x, int y, int w, int h, const uint8_t colour[3]) {
        for (int row = std::max(y, 0); row < std::min(y + h, height_); ++row) {
            for (int col = std::max(x, 0); col < std::min(x + w, width_); ++col) {
                memcpy(&rgb_[(size_t(row) * width_ + col) * 3], colour, 3);
            }
        }
    }
    void Blit(int x, int y, int w, int h, const uint8_t* rgb) {
        for (int row = 0; row < h; ++row) {
            memcpy(&rgb_[(size_t(y + row) * width_ + x) * 3], rgb + size_t(row) * w * 3,
                   size_t(w) * 3);
        }
    }
    // Draws text clipped to maxWidth pixels.
    void Text(int x, int y, int scale, int maxWidth, const std::string& text,
              const uint8_t colour[3]) {
        for (size_t i = 0; i < text.size(); ++i) {
            const int gx = x + static_cast<int>(i) * 4 * scale;
            if (gx + 3 * scale > x + maxWidth) break;
            const uint8_t* rows = FindGlyph(text[i]);
            if (rows == nullptr) continue;
            for (int r = 0; r < 5; ++r) {
                for (int c = 0; c < 3; ++c) {
                    if (rows[r] & (4 >> c))
                        Fill(gx + c * scale, y + r * scale, scale, scale, colour);
                }
            }
        }
    }
    std::vector<uint8_t> Take() { return std::move(rgb_); }

  private:
    int width_, height_;
    std::vector<uint8_t> rgb_;
};

struct PngSink {
    AtomicFile* file;
    std::string* error;
    char message[200];
};

void PngError(png_structp png, png_const_charp message) {
    auto* sink = static_cast<PngSink*>(png_get_error_ptr(png));
    snprintf(sink->message, sizeof(sink->message), "%s", message);
    png_longjmp(png, 1);
}

void PngWarning(png_structp, png_const_charp) {}

void PngWrite(png_structp png, png_bytep data, png_size_t size) {
    auto* sink = static_cast<PngSink*>(png_get_io_ptr(png));
    if (!sink->file->Write(data, size, sink->error)) png_error(png, "write failed");
}

void PngFlush(png_structp) {}

// Encodes the picture. Kept free of objects with destructors: libpng reports errors by
// longjmp back to the setjmp below.
bool EncodePng(PngSink* sink, int width, int height, const uint8_t* rgb) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, sink, PngError, PngWarning);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, sink, PngWrite, PngFlush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < height; ++y) {
        png_write_row(png, const_cast<png_bytep>(rgb + size_t(y) * width * 3));
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

uint8_t ToByte(int v) {
    return static_cast<uint8_t>(std::clamp(v, 0, 255));
}

}  // namespace

void I420ToRgbThumbnail(const uint8_t* i420, int width, int height, int outWidth, int outHeight,
                        uint8_t* rgb) {
    const uint8_t* planeY = i420;
    const uint8_t* planeU = planeY + size_t(width) * height;
    const uint8_t* planeV = planeU + size_t(width / 2) * (height / 2);
    const int cw = width / 2;
    // Black luma and zero chroma in 8.8 fixed point.
    constexpr int64_t kLumaBlack = int64_t{16} << 8;
    constexpr int64_t kChromaZero = int64_t{128} << 8;
    // Source span of each output column and row; every span holds at least one pixel.
    auto span = [](int index, int outSize, int inSize, int* begin, int* end) {
        *begin = static_cast<int>(int64_t(index) * inSize / outSize);
        *end = std::max(*begin + 1, static_cast<int>(int64_t(index + 1) * inSize / outSize));
    };
    std::vector<int64_t> sumY(outWidth), sumU(outWidth), sumV(outWidth);
    std::vector<int> countY(outWidth), countC(outWidth);
    for (int oy = 0; oy < outHeight; ++oy) {
        int y0, y1;
        span(oy, outHeight, height, &y0, &y1);
        std::fill(sumY.begin(), sumY.end(), 0);
        std::fill(sumU.begin(), sumU.end(), 0);
        std::fill(sumV.begin(), sumV.end(), 0);
        std::fill(countY.begin(), countY.end(), 0);
        std::fill(countC.begin(), countC.end(), 0);
        for (int ox = 0; ox < outWidth; ++ox) {
            int x0, x1;
            span(ox, outWidth, width, &x0, &x1);
            for (int y = y0; y < y1; ++y) {
                const uint8_t* row = planeY + size_t(y) * width;
                for (int x = x0; x < x1; ++x) sumY[ox] += row[x];
            }
            countY[ox] = (x1 - x0) * (y1 - y0);
            const int cx0 = x0 / 2, cx1 = std::max(cx0 + 1, (x1 + 1) / 2);
            const int cy0 = y0 / 2, cy1 = std::max(cy0 + 1, (y1 + 1) / 2);
            for (int y = cy0; y < cy1; ++y) {
                for (int x = cx0; x < cx1; ++x) {
                    sumU[ox] += planeU[size_t(y) * cw + x];
                    sumV[ox] += planeV[size_t(y) * cw + x];
                }
            }
            countC[ox] = (cx1 - cx0) * (cy1 - cy0);
        }
        uint8_t* out = rgb + size_t(oy) * outWidth * 3;
        for (int ox = 0; ox < outWidth; ++ox) {
            // BT.601 limited range, 16.16 fixed point.
            const int64_t c = (sumY[ox] * 256 / countY[ox]) - kLumaBlack;  // luma, 8.8 fixed
            const int64_t d = (sumU[ox] * 256 / countC[ox]) - kChromaZero;
            const int64_t e = (sumV[ox] * 256 / countC[ox]) - kChromaZero;
            const int64_t r = (76309 * c + 104597 * e) >> 24;
            const int64_t g = (76309 * c - 25675 * d - 53279 * e) >> 24;
            const int64_t b = (76309 * c + 132201 * d) >> 24;
            out[ox * 3 + 0] = ToByte(static_cast<int>(r));
            out[ox * 3 + 1] = ToByte(static_cast<int>(g));
            out[ox * 3 + 2] = ToByte(static_cast<int>(b));
        }
    }
}

bool WriteRgbPng(const std::string& path, int width, int height, const uint8_t* rgb,
                 std::string* error) {
    if (width <= 0 || height <= 0) {
        SetError(error, "cannot write '" + path + "': the picture is empty");
        return false;
    }
    AtomicFile file;
    if (!file.Open(path, error)) return false;
    std::string writeError;
    PngSink sink{&file, &writeError, {0}};
    if (!EncodePng(&sink, width, height, rgb)) {
        SetError(error, !writeError.empty() ? writeError
                                            : "cannot write '" + path + "': PNG encoding failed (" +
                                                  std::string(sink.message) + ")");
        return false;
    }
    return file.Commit(error);
}

PreviewBuilder::PreviewBuilder(int width, int height, const PreviewOptions& options)
    : width_(std::max(width, 2)), height_(std::max(height, 2)), options_(options) {
    options_.thumbnailWidth = std::max(options_.thumbnailWidth, 16);
    options_.maxRows = std::max(options_.maxRows, 1);
    options_.maxColumns = std::max(options_.maxColumns, 1);
    thumbWidth_ = std::min(options_.thumbnailWidth, width_);
    thumbHeight_ =
        std::max(1, static_cast<int>((int64_t(height_) * thumbWidth_ + width_ / 2) / width_));
    if (options_.cropHeight > 0) {
        // Even sizes and offsets keep the chroma samples aligned with the crop.
        thumbWidth_ = std::max(2, thumbWidth_ & ~1);
        thumbHeight_ = std::max(2, std::min(options_.cropHeight, height_) & ~1);
        crop_.resize(I420FrameBytes(thumbWidth_, thumbHeight_));
    }
}

void PreviewBuilder::CropCentre(const uint8_t* i420) {
    const int x0 = ((width_ - thumbWidth_) / 2) & ~1;
    const int y0 = ((height_ - thumbHeight_) / 2) & ~1;
    uint8_t* out = crop_.data();
    for (int y = 0; y < thumbHeight_; ++y) {
        std::memcpy(out + size_t(y) * thumbWidth_, i420 + size_t(y0 + y) * width_ + x0,
                    size_t(thumbWidth_));
    }
    const int cw = width_ / 2, ch = height_ / 2;
    const int tw = thumbWidth_ / 2, th = thumbHeight_ / 2;
    for (int plane = 0; plane < 2; ++plane) {
        const uint8_t* in = i420 + size_t(width_) * height_ + size_t(plane) * cw * ch;
        uint8_t* dst = out + size_t(thumbWidth_) * thumbHeight_ + size_t(plane) * tw * th;
        for (int y = 0; y < th; ++y) {
            std::memcpy(dst + size_t(y) * tw, in + size_t(y0 / 2 + y) * cw + x0 / 2, size_t(tw));
        }
    }
}

int PreviewBuilder::LabelScale() const {
    return thumbWidth_ >= 120 ? 2 : 1;
}

int PreviewBuilder::CellWidth() const {
    return thumbWidth_ + 2 * kBorder;
}

// Picture, border all round, and the label bar under the picture inside the border colour.
int PreviewBuilder::CellHeight() const {
    return thumbHeight_ + 2 * kBorder + 7 * LabelScale();
}

void PreviewBuilder::Add(const uint8_t* i420, bool isInput) {
    if (full_) return;
    if (isInput || rows_.empty()) {
        if (static_cast<int>(rows_.size()) == options_.maxRows) {
            full_ = true;
            return;
        }
        rows_.emplace_back();
    }
    const int inputIndex = isInput ? options_.firstInputIndex + inputsSeen_++ : -1;
    Row& row = rows_.back();
    ++row.frames;
    if (static_cast<int>(row.thumbs.size()) >= options_.maxColumns) return;
    Thumbnail thumb{std::vector<uint8_t>(size_t(thumbWidth_) * thumbHeight_ * 3), isInput,
                    inputIndex};
    if (options_.cropHeight > 0) {
        CropCentre(i420);
        I420ToRgbThumbnail(crop_.data(), thumbWidth_, thumbHeight_, thumbWidth_, thumbHeight_,
                           thumb.rgb.data());
    } else {
        I420ToRgbThumbnail(i420, width_, height_, thumbWidth_, thumbHeight_, thumb.rgb.data());
    }
    row.thumbs.push_back(std::move(thumb));
}

int PreviewBuilder::imageWidth() const {
    size_t columns = 1;
    for (const Row& row : rows_) columns = std::max(columns, row.thumbs.size());
    const int n = static_cast<int>(columns);
    return 2 * kMargin + n * CellWidth() + (n - 1) * kGap;
}

int PreviewBuilder::imageHeight() const {
    const int n = std::max(1, static_cast<int>(rows_.size()));
    return 2 * kMargin + n * CellHeight() + (n - 1) * kGap;
}

std::vector<uint8_t> PreviewBuilder::RenderRgb() const {
    Canvas canvas(imageWidth(), imageHeight());
    const int scale = LabelScale();
    for (size_t r = 0; r < rows_.size(); ++r) {
        const Row& row = rows_[r];
        // Made frames are labelled with their step between two input frames: k of m.
        const bool startsWithInput = row.thumbs[0].isInput;
        const int steps = row.frames + (startsWithInput ? 0 : 1);
        const int y = kMargin + static_cast<int>(r) * (CellHeight() + kGap);
        for (size_t c = 0; c < row.thumbs.size(); ++c) {
            const Thumbnail& thumb = row.thumbs[c];
            const int x = kMargin + static_cast<int>(c) * (CellWidth() + kGap);
            const uint8_t* colour = thumb.isInput ? kInputColour : kMadeColour;
            canvas.Fill(x, y, CellWidth(), CellHeight(), colour);
            canvas.Blit(x + kBorder, y + kBorder, thumbWidth_, thumbHeight_, thumb.rgb.data());
            const std::string label =
                thumb.isInput
                    ? "IN " + std::to_string(thumb.inputIndex)
                    : std::to_string(c + (startsWithInput ? 0 : 1)) + "/" + std::to_string(steps);
            canvas.Text(x + kBorder + scale, y + kBorder + thumbHeight_ + scale, scale,
                        thumbWidth_ - scale, label, kTextColour);
        }
    }
    return canvas.Take();
}

bool PreviewBuilder::WritePng(const std::string& path, std::string* error) const {
    if (rows_.empty()) {
        SetError(error, "cannot write '" + path + "': no frames were collected for the preview");
        return false;
    }
    std::vector<uint8_t> rgb = RenderRgb();
    return WriteRgbPng(path, imageWidth(), imageHeight(), rgb.data(), error);
}

}  // namespace media
