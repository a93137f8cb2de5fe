// Helpers for the video file tests: scratch folders, clips made with the
// ffmpeg program, synthetic frames and a libavformat probe.
#pragma once

#include "cli/video_io.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

namespace tessen::cli::testing {

namespace fs = std::filesystem;

// A fresh folder per test, removed afterwards.
class ScratchDir {
public:
    ScratchDir() {
        static int counter = 0;
        path_ = fs::temp_directory_path() /
                ("tessen-vio-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~ScratchDir() {
        std::error_code ec;
        fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(path_, ec);
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const fs::path& path() const { return path_; }
    // Every entry of the folder, hidden ones included.
    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(path_)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    fs::path path_;
};

// Runs the ffmpeg program quietly; true on success.
inline bool ffmpeg(const std::string& args) {
    const std::string cmd = "ffmpeg -nostdin -hide_banner -loglevel error -y " + args + " 2>/dev/null";
    return std::system(cmd.c_str()) == 0;
}

// Opaque frame of pseudo-random colours at the given depth.
inline HostFrame noise_frame(int w, int h, int depth, unsigned seed) {
    HostFrame f;
    f.allocate(w, h, depth);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == 8)
                    f.row8(y)[4 * x + c] = c == 0 ? 255 : uint8_t(rng() & 0xff);
                else
                    f.row16(y)[4 * x + c] = c == 0 ? 32768 : uint16_t(rng() % 32769);
            }
    return f;
}

// Opaque frame of one colour given in 8-bit R, G, B.
inline HostFrame solid_frame(int w, int h, int depth, int r, int g, int b) {
    HostFrame f;
    f.allocate(w, h, depth);
    const int v[4] = {255, r, g, b};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == 8)
                    f.row8(y)[4 * x + c] = uint8_t(v[c]);
                else
                    f.row16(y)[4 * x + c] = uint16_t((v[c] * 32768 + 127) / 255);
            }
    return f;
}

// Component c (0 A, 1 R, 2 G, 3 B) of pixel (x, y) on the 8-bit scale.
inline double value8(const HostFrame& f, int x, int y, int c) {
    return f.depth == 8 ? f.row8(y)[4 * x + c] : f.row16(y)[4 * x + c] * 255.0 / 32768.0;
}

// What libavformat says about the first video stream of a file, with the
// packets counted by reading them.
struct Probe {
    bool ok = false;
    std::string codec, pix_fmt;
    int width = 0, height = 0;
    int rate_num = 0, rate_den = 0;
    int64_t packets = 0;
    int color_space = -1, color_range = -1, primaries = -1, transfer = -1, field_order = -1;
    int audio_streams = 0;
    std::string profile;
    double first_plane_mean[3] = {0, 0, 0};  // Y, Cb, Cr of the first frame on the 8-bit scale (YUV only)
};
Probe probe(const std::string& path);

}  // namespace tessen::cli::testing
