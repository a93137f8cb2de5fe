// tessen demo, the README's first command: it must run without any input,
// write its three files and show the effect ahead of plain field methods.
#include "cli_test_util.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tessen::cli::testing {
namespace {

// The dB value on the table line that starts with `label`.
double psnr_on_line(const std::string& out, const std::string& label) {
    size_t at = out.find("  " + label);
    if (at == std::string::npos) return -1.0;
    return std::atof(out.c_str() + at + 2 + label.size());
}

TEST(CliDemo, ConvertsTheBuiltInClipAndBeatsLineDoublingAndWeaving) {
    ScratchDir dir;
    const std::string out_dir = dir.file("demo");  // made by the demo
    RunResult r = run_tessen({"demo", out_dir, "--quiet"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(r.out.find("Auto Setup Successful!") != std::string::npos) << r.out;

    const double effect = psnr_on_line(r.out, "Tessen Plus");
    const double doubling = psnr_on_line(r.out, "line doubling (one field)");
    const double weaving = psnr_on_line(r.out, "weaving (both fields)");
    EXPECT_GT(doubling, 10.0) << r.out;
    EXPECT_GT(weaving, 10.0) << r.out;
    EXPECT_GT(effect, doubling + 3.0) << r.out;
    EXPECT_GT(effect, weaving + 3.0) << r.out;

    const std::string video = fs::exists(out_dir + "/demo.mp4") ? out_dir + "/demo.mp4" : out_dir + "/demo.mkv";
    ReadBack converted = read_all(video);
    EXPECT_EQ(converted.frames.size(), 48u);  // 60 frames at 29.97 -> 23.976
    EXPECT_EQ(converted.info.frame_rate, (Rational{24000, 1001}));
    ReadBack input = read_all(out_dir + "/demo_interlaced.mkv");
    EXPECT_EQ(input.frames.size(), 60u);
    EXPECT_EQ(input.info.frame_rate, (Rational{30000, 1001}));
    Probe png = probe(out_dir + "/demo_side_by_side.png");
    EXPECT_EQ(png.width, 2 * 720 + 8);
    EXPECT_EQ(png.height, 480);
}

}  // namespace
}  // namespace tessen::cli::testing
