// tessen demo, the README's first command: it must run without any input,
// write its three files and show the effect ahead of plain field methods.
#include "cli_test_util.h"

#include "cli/demo.h"

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

// The first output frame has no source frame before it and the last none
// after it. On a moving picture both must come out as clean as the frames in
// between (measured against the scene's own progressive frames), not woven
// into combs because the effect compared a frame with itself.
TEST(CliRender, FirstAndLastFramesAreAsCleanAsTheMiddleOnesOnAMovingPicture) {
    ScratchDir dir;
    constexpr int kW = 240, kH = 160, kFrames = 13;
    const DemoScene scene(kW, kH);
    const std::string in = dir.file("moving.mkv");
    {
        // Lower field first: the lower lines of frame i are scene frame 2i,
        // the upper ones scene frame 2i + 1.
        WriterOptions wo;
        wo.width = kW;
        wo.height = kH;
        wo.frame_rate = Rational{30000, 1001};
        wo.depth = 8;
        wo.field_order = FieldOrder::LowerFirst;
        VideoWriter w(in, wo);
        for (int i = 0; i < kFrames; ++i)
            w.write(host_frame_from_rgb(interlace(scene.frame(2 * i), scene.frame(2 * i + 1), true)));
        w.finish();
    }
    struct Case {
        const char* rate;
        int (*field_at)(int k);  // the scene frame an output frame shows
    };
    // At 23.976 the 13 frames end on an output frame in the second field of
    // the last source frame, which looks one frame past the end.
    const Case cases[] = {{"29.97", [](int k) { return 2 * k; }}, {"23.976", ntsc_field_at_23976}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rate);
        const std::string out = dir.file(std::string("out") + c.rate + ".mkv");
        RunResult r = run_tessen({"render", in, out, "--rate", c.rate, "--source", "ntsc", "--field-order", "lower",
                                  "--quiet"});
        ASSERT_EQ(r.exit_code, 0) << r.err;
        ReadBack rb = read_all(out);
        ASSERT_GE(rb.frames.size(), 6u);
        std::vector<double> db;
        for (size_t k = 0; k < rb.frames.size(); ++k)
            db.push_back(psnr(rgb_from_host_frame(rb.frames[k]), scene.frame(c.field_at(static_cast<int>(k)))));
        double middle = 0;
        for (size_t k = 1; k + 1 < db.size(); ++k) middle += db[k];
        middle /= static_cast<double>(db.size() - 2);
        EXPECT_GT(db.front(), middle - 1.5) << "first frame";
        EXPECT_GT(db.back(), middle - 1.5) << "last frame";
    }
}

}  // namespace
}  // namespace tessen::cli::testing
