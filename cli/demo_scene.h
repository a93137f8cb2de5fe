// The built-in demo clip: a progressive 59.94 frames-per-second scene with
// real motion and fine detail, generated in code, and the small picture
// helpers the demo needs to show what the effect does with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessen::cli {

// 8-bit RGB, rows top to bottom, three bytes per pixel.
struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;

    RgbImage() = default;
    RgbImage(int w, int h) : width(w), height(h), rgb(static_cast<size_t>(w) * h * 3, 0) {}
    uint8_t* row(int y) { return rgb.data() + static_cast<size_t>(y) * width * 3; }
    const uint8_t* row(int y) const { return rgb.data() + static_cast<size_t>(y) * width * 3; }
};

class DemoScene {
public:
    static constexpr double kFrameRate = 60000.0 / 1001.0;  // 59.94

    DemoScene(int width = 720, int height = 480);
    int width() const { return width_; }
    int height() const { return height_; }
    // The progressive frame at index / 59.94 seconds: a zone plate, fine
    // moving diagonals, a spinning bar, a bouncing ball, a sliding box with
    // hard edges and scrolling text.
    RgbImage frame(int index) const;

private:
    int width_, height_;
};

// Interlaced frame from two progressive frames: `first` supplies the field
// that comes first in time (lower lines when lower_first), `second` the other.
RgbImage interlace(const RgbImage& first, const RgbImage& second, bool lower_first);

// Frame from one field of `frame` by repeating each of its lines.
RgbImage line_double(const RgbImage& frame, bool upper_field);

// PSNR in dB over all samples (8-bit peak); 99 for identical pictures.
double psnr(const RgbImage& a, const RgbImage& b);

// a and b next to each other with a gap of `gap` dark pixels.
RgbImage side_by_side(const RgbImage& a, const RgbImage& b, int gap);

}  // namespace tessen::cli
