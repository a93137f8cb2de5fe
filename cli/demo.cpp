#include "cli/demo.h"

#include "cli/cli_error.h"
#include "cli/conversion_plan.h"
#include "cli/effect_runner.h"
#include "cli/exit_codes.h"
#include "cli/frame_source.h"
#include "cli/interrupt.h"
#include "cli/png_image.h"
#include "cli/progress.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace tessen::cli {

namespace {

constexpr int kWidth = 720;
constexpr int kHeight = 480;
constexpr int kInterlacedFrames = 60;  // two seconds at 29.97
constexpr int kSideBySideOutput = 20;  // an output frame in the middle of the motion

struct MseSum {
    double sum = 0.0;
    int frames = 0;
    void add(const RgbImage& a, const RgbImage& b) {
        double s = 0.0;
        for (size_t i = 0; i < a.rgb.size(); ++i) {
            double d = static_cast<double>(a.rgb[i]) - b.rgb[i];
            s += d * d;
        }
        sum += s / a.rgb.size();
        ++frames;
    }
    double psnr() const {
        double mse = frames ? sum / frames : 0.0;
        return mse > 0 ? 10.0 * std::log10(255.0 * 255.0 / mse) : 99.0;
    }
};

void write_video(const std::string& path, const std::vector<HostFrame>& frames, Rational rate,
                 FieldOrder fields = FieldOrder::Progressive) {
    WriterOptions wo;
    wo.field_order = fields;
    wo.width = kWidth;
    wo.height = kHeight;
    wo.frame_rate = rate;
    wo.depth = 8;
    wo.overwrite = true;  // the demo rewrites its own files
    VideoWriter writer(path, wo);
    for (const HostFrame& f : frames) {
        if (interrupt_signal()) throw Failure(interrupt_exit_code(), "interrupted; no output written");
        writer.write(f);
    }
    writer.finish();
}

}  // namespace

HostFrame host_frame_from_rgb(const RgbImage& image) {
    HostFrame f;
    f.allocate(image.width, image.height, 8);
    for (int y = 0; y < image.height; ++y) {
        const uint8_t* s = image.row(y);
        uint8_t* d = f.row8(y);
        for (int x = 0; x < image.width; ++x) {
            d[4 * x + 0] = 255;
            d[4 * x + 1] = s[3 * x + 0];
            d[4 * x + 2] = s[3 * x + 1];
            d[4 * x + 3] = s[3 * x + 2];
        }
    }
    return f;
}

RgbImage rgb_from_host_frame(const HostFrame& frame) {
    RgbImage img(frame.width, frame.height);
    for (int y = 0; y < frame.height; ++y) {
        uint8_t* d = img.row(y);
        if (frame.depth == 8) {
            const uint8_t* s = frame.row8(y);
            for (int x = 0; x < frame.width; ++x) {
                d[3 * x + 0] = s[4 * x + 1];
                d[3 * x + 1] = s[4 * x + 2];
                d[3 * x + 2] = s[4 * x + 3];
            }
        } else {
            const uint16_t* s = frame.row16(y);
            for (int x = 0; x < frame.width; ++x)
                for (int c = 0; c < 3; ++c) {
                    uint32_t v = s[4 * x + 1 + c] > 32768 ? 32768 : s[4 * x + 1 + c];
                    d[3 * x + c] = static_cast<uint8_t>((v * 255 + 16384) / 32768);
                }
        }
    }
    return img;
}

int ntsc_field_at_23976(int k) { return static_cast<int>(std::floor(2.5f * k + 0.499f)); }

int run_demo(const Options& o) {
    namespace fs = std::filesystem;
    const std::string dir = o.output;
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec || !fs::is_directory(dir)) throw Failure(kExitOutput, dir + ": cannot create the folder (" + ec.message() + ")");

    // The scene at 59.94 progressive, then two fields per frame, lower first:
    // the lower lines of frame i come from scene frame 2i, the upper from 2i + 1.
    DemoScene scene(kWidth, kHeight);
    std::vector<RgbImage> progressive;
    progressive.reserve(2 * kInterlacedFrames);
    for (int i = 0; i < 2 * kInterlacedFrames; ++i) progressive.push_back(scene.frame(i));
    std::vector<RgbImage> interlaced;
    std::vector<HostFrame> input;
    for (int i = 0; i < kInterlacedFrames; ++i) {
        interlaced.push_back(interlace(progressive[2 * i], progressive[2 * i + 1], true));
        input.push_back(host_frame_from_rgb(interlaced.back()));
    }

    ConversionPlan plan;
    plan.standard = SourceStandard::kNtsc;
    plan.rate = CompRate::k23_976;
    plan.time_base = comp_time_base(plan.rate);
    plan.comp_rate = comp_frame_rate(plan.rate);
    plan.layer_rate = Rational{2997, 100};
    const int64_t out_frames = output_frame_count(kInterlacedFrames, plan);

    std::printf("tessen demo: a built-in 59.94p scene, interlaced to %dx%d at 29.97 fps, lower field first,\n"
                "converted to %lld progressive frames at 23.976 fps by the Tessen Plus effect\n\n",
                kWidth, kHeight, static_cast<long long>(out_frames));
    std::fflush(stdout);

    EffectSetup setup;
    setup.module_path = resolve_module_path(o.module);
    setup.width = kWidth;
    setup.height = kHeight;
    setup.depth = 8;
    setup.time_base = plan.time_base;
    setup.layer_rate = plan.layer_rate;
    setup.layer_frames = kInterlacedFrames;
    setup.frame_at = [&](int64_t i) -> const HostFrame& {
        return input[static_cast<size_t>(stand_in_frame(i, kInterlacedFrames))];
    };
    EffectRunner runner(setup);
    AutoSetupResult auto_setup = runner.press_auto_setup();
    std::printf("Auto Setup says:\n");
    print_effect_message(stdout, auto_setup.message);
    std::printf("\n");
    std::fflush(stdout);

    EffectParams params;
    params.source_video = kSourceNtsc;  // the clip is NTSC whatever the guess
    params.field_order = kLowerFirst;
    runner.set_params(params);

    std::vector<HostFrame> output;
    MseSum effect_err, double_err, weave_err;
    Progress progress(out_frames, o.quiet);
    for (int k = 0; k < out_frames; ++k) {
        if (interrupt_signal()) throw Failure(interrupt_exit_code(), "interrupted; demo stopped");
        HostFrame out;
        runner.render(k, out);
        const int n = ntsc_field_at_23976(k);
        const RgbImage& truth = progressive[static_cast<size_t>(n)];
        const RgbImage& source = interlaced[static_cast<size_t>(n / 2)];
        // Lower field first: even field numbers are lower fields.
        const bool upper = (n & 1) != 0;
        effect_err.add(rgb_from_host_frame(out), truth);
        double_err.add(line_double(source, upper), truth);
        weave_err.add(source, truth);
        output.push_back(std::move(out));
        progress.update(k + 1);
    }
    progress.finish(out_frames);
    std::string leaks = runner.close();
    if (!leaks.empty()) {
        std::fprintf(stderr, "%s\n", leaks.c_str());
        throw Failure(kExitEffect, setup.module_path + ": the effect left resources behind (listed above)");
    }

    std::string video = dir + "/demo.mp4";
    try {
        write_video(video, output, plan.comp_rate);
    } catch (const CliError&) {
        // No H.264 encoder in this FFmpeg: lossless Matroska instead.
        video = dir + "/demo.mkv";
        try {
            write_video(video, output, plan.comp_rate);
        } catch (const CliError& e) {
            throw Failure(kExitOutput, e.what());
        }
    }
    const std::string source_clip = dir + "/demo_interlaced.mkv";
    const std::string png = dir + "/demo_side_by_side.png";
    try {
        write_video(source_clip, input, Rational{30000, 1001}, FieldOrder::LowerFirst);
        const int n = ntsc_field_at_23976(kSideBySideOutput);
        write_png(png,
                  side_by_side(interlaced[static_cast<size_t>(n / 2)],
                               rgb_from_host_frame(output[kSideBySideOutput]), 8),
                  true);
    } catch (const CliError& e) {
        throw Failure(kExitOutput, e.what());
    }

    std::printf("PSNR against the scene's own progressive frames (higher is better):\n");
    std::printf("  %-28s %6.2f dB\n", "Tessen Plus", effect_err.psnr());
    std::printf("  %-28s %6.2f dB\n", "line doubling (one field)", double_err.psnr());
    std::printf("  %-28s %6.2f dB\n", "weaving (both fields)", weave_err.psnr());
    std::printf("\nwrote %s (the converted clip)\n      %s (combed input | output, frame %d)\n"
                "      %s (the interlaced input; try: tessen render %s out.mov)\n",
                video.c_str(), png.c_str(), kSideBySideOutput, source_clip.c_str(), source_clip.c_str());
    return kExitOk;
}

}  // namespace tessen::cli
