#include "cli/demo_scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tessen::cli {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Color {
    float r, g, b;
};

Color mix(Color a, Color b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

// Coverage of a shape from its signed distance (negative inside), with a
// one-pixel soft edge so moving edges stay free of stair steps.
float coverage(double distance) {
    double c = 0.5 - distance;
    return static_cast<float>(std::clamp(c, 0.0, 1.0));
}

// 5 x 7 glyphs, one byte per row, bit 4 the leftmost pixel.
struct Glyph {
    char c;
    uint8_t rows[7];
};
constexpr Glyph kFont[] = {
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}}, {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}}, {'N', {0x11, 0x19, 0x15, 0x13, 0x11, 0x11, 0x11}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}}, {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}}, {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}}, {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}}, {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}}, {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}}, {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}}, {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}}, {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}}, {'>', {0x10, 0x08, 0x04, 0x02, 0x04, 0x08, 0x10}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}}, {' ', {0, 0, 0, 0, 0, 0, 0}},
};

const Glyph* glyph_for(char c) {
    for (const Glyph& g : kFont)
        if (g.c == c) return &g;
    return &kFont[sizeof kFont / sizeof kFont[0] - 1];
}

constexpr char kBanner[] = "TESSEN PLUS  59.94I -> 23.976P  ";
constexpr int kGlyphScale = 4;  // each font pixel is 4 x 4 screen pixels

// Whether banner pixel (u, v) (in font pixels) is ink; the banner repeats.
bool banner_ink(int u, int v) {
    if (v < 0 || v >= 7) return false;
    const int n = static_cast<int>(sizeof kBanner) - 1;
    int cell = u / 6;
    int cu = u % 6;
    if (cu < 0) {
        cu += 6;
        --cell;
    }
    if (cu >= 5) return false;
    cell = ((cell % n) + n) % n;
    return (glyph_for(kBanner[cell])->rows[v] >> (4 - cu)) & 1;
}

}  // namespace

DemoScene::DemoScene(int width, int height) : width_(width), height_(height) {}

RgbImage DemoScene::frame(int index) const {
    RgbImage img(width_, height_);
    const double t = index / kFrameRate;
    const double sx = width_ / 720.0, sy = height_ / 480.0;

    // Layout in 720 x 480 units, scaled to the frame.
    const double zp_cx = 120 * sx, zp_cy = 120 * sy, zp_r = 100 * std::min(sx, sy);
    const double dg_x0 = 240 * sx, dg_x1 = 470 * sx, dg_y0 = 20 * sy, dg_y1 = 220 * sy;
    const double bar_cx = 600 * sx, bar_cy = 120 * sy, bar_len = 90 * std::min(sx, sy);
    const double bar_angle = 2 * kPi * 0.35 * t;
    const double bar_dx = std::cos(bar_angle), bar_dy = std::sin(bar_angle);
    const double text_y0 = 250 * sy;
    const double text_shift = 150.0 * t;  // pixels per second, leftwards
    // Ball: bounces vertically, drifts horizontally.
    const double phase = std::fmod(t * 1.3, 1.0);
    const double ball_cx = (560 + 60 * std::sin(2 * kPi * 0.4 * t)) * sx;
    const double ball_cy = (460 - 130 * 4 * phase * (1 - phase)) * sy - 30 * sy;
    const double ball_r = 28 * std::min(sx, sy);
    // Box: eases back and forth across the lower left.
    const double box_x0 = (40 + 300 * (0.5 - 0.5 * std::cos(2 * kPi * 0.5 * t))) * sx;
    const double box_y0 = 330 * sy, box_w = 110 * sx, box_h = 110 * sy;

    const Color sky{0.10f, 0.13f, 0.22f}, floor{0.22f, 0.20f, 0.17f};
    for (int y = 0; y < height_; ++y) {
        uint8_t* row = img.row(y);
        const double py = y + 0.5;
        for (int x = 0; x < width_; ++x) {
            const double px = x + 0.5;
            Color c = mix(sky, floor, static_cast<float>(py / height_));

            // Zone plate: radial chirp reaching the line rate at its rim.
            double dx = px - zp_cx, dy = py - zp_cy;
            double r2 = dx * dx + dy * dy;
            if (r2 < zp_r * zp_r) {
                float v = static_cast<float>(0.5 + 0.5 * std::cos(kPi * r2 / (2.0 * zp_r)));
                float edge = coverage(std::sqrt(r2) - zp_r);
                c = mix(c, Color{v, v, v}, edge);
            }

            // Fine diagonals, panning right two pixels a frame.
            if (px >= dg_x0 && px < dg_x1 && py >= dg_y0 && py < dg_y1) {
                double u = (px + py) - 120.0 * t;
                float v = static_cast<float>(0.5 + 0.5 * std::sin(2 * kPi * u / 6.0));
                c = mix(Color{0.9f, 0.75f, 0.2f}, Color{0.1f, 0.1f, 0.35f}, v);
            }

            // Spinning bar with a thin outline.
            {
                double qx = px - bar_cx, qy = py - bar_cy;
                double along = qx * bar_dx + qy * bar_dy;
                double across = -qx * bar_dy + qy * bar_dx;
                double d = std::max(std::fabs(along) - bar_len, std::fabs(across) - 4.0 * sy);
                float cov = coverage(d);
                if (cov > 0) c = mix(c, Color{0.95f, 0.3f, 0.25f}, cov);
            }

            // Scrolling banner text.
            if (py >= text_y0 && py < text_y0 + 7 * kGlyphScale) {
                int u = static_cast<int>(std::floor((px + text_shift) / kGlyphScale));
                int v = static_cast<int>(std::floor((py - text_y0) / kGlyphScale));
                if (banner_ink(u, v)) c = Color{0.95f, 0.95f, 0.9f};
            }

            // Sliding box with a dark frame: long hard horizontal and vertical edges.
            {
                double ex = std::max(box_x0 - px, px - (box_x0 + box_w));
                double ey = std::max(box_y0 - py, py - (box_y0 + box_h));
                double d = std::max(ex, ey);
                float outer = coverage(d);
                float inner = coverage(d + 8.0);
                if (outer > 0) {
                    Color fill = ((static_cast<int>((px - box_x0) / 10) + static_cast<int>((py - box_y0) / 10)) & 1)
                                     ? Color{0.2f, 0.7f, 0.3f}
                                     : Color{0.85f, 0.9f, 0.85f};
                    c = mix(c, Color{0.02f, 0.02f, 0.02f}, outer);
                    c = mix(c, fill, inner);
                }
            }

            // Bouncing ball.
            {
                double bx = px - ball_cx, by = py - ball_cy;
                float cov = coverage(std::sqrt(bx * bx + by * by) - ball_r);
                if (cov > 0) {
                    float shade = static_cast<float>(0.6 + 0.4 * std::clamp(-(bx + by) / (2 * ball_r), -1.0, 1.0));
                    c = mix(c, Color{0.2f * shade, 0.5f * shade, 1.0f * shade}, cov);
                }
            }

            row[3 * x + 0] = static_cast<uint8_t>(std::lround(std::clamp(c.r, 0.0f, 1.0f) * 255.0f));
            row[3 * x + 1] = static_cast<uint8_t>(std::lround(std::clamp(c.g, 0.0f, 1.0f) * 255.0f));
            row[3 * x + 2] = static_cast<uint8_t>(std::lround(std::clamp(c.b, 0.0f, 1.0f) * 255.0f));
        }
    }
    return img;
}

RgbImage interlace(const RgbImage& first, const RgbImage& second, bool lower_first) {
    RgbImage out(first.width, first.height);
    const size_t row_bytes = static_cast<size_t>(first.width) * 3;
    for (int y = 0; y < first.height; ++y) {
        bool lower_line = (y & 1) != 0;
        const RgbImage& src = (lower_line == lower_first) ? first : second;
        std::memcpy(out.row(y), src.row(y), row_bytes);
    }
    return out;
}

RgbImage line_double(const RgbImage& frame, bool upper_field) {
    RgbImage out(frame.width, frame.height);
    const size_t row_bytes = static_cast<size_t>(frame.width) * 3;
    for (int y = 0; y < frame.height; ++y) {
        int src = upper_field ? (y & ~1) : (y | 1);
        if (src >= frame.height) src -= 2;
        if (src < 0) src = 0;
        std::memcpy(out.row(y), frame.row(src), row_bytes);
    }
    return out;
}

double psnr(const RgbImage& a, const RgbImage& b) {
    if (a.rgb.size() != b.rgb.size() || a.rgb.empty()) return 0.0;
    double sum = 0.0;
    for (size_t i = 0; i < a.rgb.size(); ++i) {
        double d = static_cast<double>(a.rgb[i]) - b.rgb[i];
        sum += d * d;
    }
    double mse = sum / a.rgb.size();
    if (mse <= 0.0) return 99.0;
    return 10.0 * std::log10(255.0 * 255.0 / mse);
}

RgbImage side_by_side(const RgbImage& a, const RgbImage& b, int gap) {
    int h = std::max(a.height, b.height);
    RgbImage out(a.width + gap + b.width, h);
    std::fill(out.rgb.begin(), out.rgb.end(), static_cast<uint8_t>(24));
    for (int y = 0; y < a.height; ++y) std::memcpy(out.row(y), a.row(y), static_cast<size_t>(a.width) * 3);
    for (int y = 0; y < b.height; ++y)
        std::memcpy(out.row(y) + static_cast<size_t>(a.width + gap) * 3, b.row(y), static_cast<size_t>(b.width) * 3);
    return out;
}

}  // namespace tessen::cli
