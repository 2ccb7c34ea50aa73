// Preview picture (PNG) of input frames with the frames made between them, one row per input frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace media {

struct PreviewOptions {
    int thumbnailWidth = 240;  // frames are scaled down to this width, never enlarged
    int maxRows = 4;           // input frames shown, each starting a row
    int maxColumns = 8;        // frames per row; later made frames of a row are left out
    // > 0: each picture is a full-size crop of the frame's centre, thumbnailWidth x cropHeight
    // (at most the frame's size), instead of the whole frame scaled down.
    int cropHeight = 0;
    int firstInputIndex = 0;  // number of the first input frame shown, for its label
};

// Collects frames in display order and lays them out as a contact sheet: each input frame
// starts a row and the frames made after it follow it in that row. Every picture has a coloured
// border and a label bar: green "IN n" for input frames (n counts input frames from 0), orange
// "k/m" for made frames (k-th of the m steps from one input frame to the next). Only scaled-down
// thumbnails are kept, so memory stays small whatever the video size.
class PreviewBuilder {
  public:
    // width and height of the I420 frames (even, positive).
    PreviewBuilder(int width, int height, const PreviewOptions& options = PreviewOptions());

    // Adds the next frame (I420). Made frames before the first input frame start a row of their
    // own. Once maxRows rows exist, the next input frame marks the sheet full and later frames
    // are ignored.
    void Add(const uint8_t* i420, bool isInput);
    bool full() const { return full_; }
    bool empty() const { return rows_.empty(); }

    int thumbnailWidth() const { return thumbWidth_; }
    int thumbnailHeight() const { return thumbHeight_; }
    // Size of the picture WritePng() would write now.
    int imageWidth() const;
    int imageHeight() const;

    // Renders the sheet as RGB (3 bytes a pixel, rows top to bottom).
    std::vector<uint8_t> RenderRgb() const;
    // Writes the sheet as an 8-bit RGB PNG, through a temporary file renamed into place.
    bool WritePng(const std::string& path, std::string* error) const;

  private:
    struct Thumbnail {
        std::vector<uint8_t> rgb;
        bool isInput;
        int inputIndex;  // for input frames
    };
    struct Row {
        std::vector<Thumbnail> thumbs;
        int frames = 0;  // frames that belonged to the row, including those left out
    };
    // Copies the centre thumbWidth_ x thumbHeight_ of an I420 frame into crop_.
    void CropCentre(const uint8_t* i420);
    int CellWidth() const;
    int CellHeight() const;
    int LabelScale() const;

    int width_;
    int height_;
    PreviewOptions options_;
    int thumbWidth_;
    int thumbHeight_;
    std::vector<Row> rows_;
    std::vector<uint8_t> crop_;  // I420 crop of the frame being added (crop mode)
    int inputsSeen_ = 0;
    bool full_ = false;
};

// Writes 8-bit RGB pixels (3 bytes each, rows top to bottom) as a PNG, through a temporary file.
bool WriteRgbPng(const std::string& path, int width, int height, const uint8_t* rgb,
                 std::string* error);

// Scales an I420 frame down to outWidth x outHeight RGB by averaging the source pixels each
// output pixel covers, converting with BT.601 limited range.
void I420ToRgbThumbnail(const uint8_t* i420, int width, int height, int outWidth, int outHeight,
                        uint8_t* rgb);

}  // namespace media
