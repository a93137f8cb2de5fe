// tessen end to end: the program is run on small clips made here, and what it
// writes is read back.
#include "cli_test_util.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <tuple>

#include <gtest/gtest.h>

#include <signal.h>


namespace tessen::cli::testing {
namespace {

// The given frames written losslessly as 8-bit RGB FFV1.
std::string write_clip(const ScratchDir& dir, const std::string& name, const std::vector<HostFrame>& frames,
                       Rational rate) {
    WriterOptions wo;
    wo.width = frames[0].width;
    wo.height = frames[0].height;
    wo.frame_rate = rate;
    wo.depth = 8;
    VideoWriter w(dir.file(name), wo);
    for (const HostFrame& f : frames) w.write(f);
    w.finish();
    return dir.file(name);
}

// Every needle is in the text.
void expect_all(const std::string& text, std::initializer_list<const char*> needles) {
    for (const char* n : needles) EXPECT_TRUE(contains(text, n)) << n << " in:\n" << text;
}

// tessen render IN OUT with the given options, picking the source and field order.
std::vector<std::string> render(const std::string& in, const std::string& out, const std::string& source,
                                const std::string& order, std::vector<std::string> more = {}) {
    std::vector<std::string> a = {"render", in, out, "--source", source, "--field-order", order};
    a.insert(a.end(), more.begin(), more.end());
    return a;
}

// Peak signal-to-noise ratio of two 8-bit frames over red, green and blue.
double psnr(const HostFrame& a, const HostFrame& b) {
    double sum = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int c = 1; c < 4; ++c) {
                const double d = value8(a, x, y, c) - value8(b, x, y, c);
                sum += d * d;
            }
    const double mse = sum / (3.0 * a.width * a.height);
    return mse > 0 ? 10 * std::log10(255.0 * 255.0 / mse) : 99.0;
}

// Field order comes from the pictures. A pan at the field rate (59.94 or 50
// progressive frames a second) is woven into interlaced frames either way and
// written in the formats archives hold; each converts to 29.97 or 25 frames
// that show the instant of their first field, progressive frame 2k, and not
// the one after it. MXF tags bottom-first pictures "tb", which reads as
// upper first, and one FFV1 clip is deliberately flagged and tagged upper
// first: the pictures win and tessen says so. The table of order, what
// decided it and the mean PSNR against the progressive truth is printed.
TEST(CliRender, FieldOrderRecordedInTheFilePutsFramesOnTheirInstants) {
    ScratchDir dir;
    const std::string m2v = "-c:v mpeg2video -flags +ildct+ilme -alternate_scan 1 ";
    const std::string imx = m2v + "-pix_fmt yuv422p -intra_vlc 1 -g 1 -f mxf_d10 ";
    const std::string x264 = "-c:v libx264 -flags +ildct+ilme -crf 18 -pix_fmt yuv420p -x264-params {o}=1 ";
    struct Case {
        const char* name;
        const char* ext;
        int w, h;
        bool pal;
        bool both_orders;  // DV is lower field first only
        std::string encode;  // {o}: tff or bff; {t}: tt or bb
        const char* says = "";  // a line the run must print
    };
    const Case cases[] = {
        {"dv", "dv", 720, 480, false, false, "-c:v dvvideo -pix_fmt yuv411p"},
        {"dv_pal", "dv", 720, 576, true, false, "-c:v dvvideo -pix_fmt yuv420p"},
        {"dv", "mov", 720, 480, false, false, "-c:v dvvideo -pix_fmt yuv411p"},
        {"dv", "avi", 720, 480, false, false, "-c:v dvvideo -pix_fmt yuv411p"},
        {"dvcpro50", "mov", 720, 480, false, false, "-c:v dvvideo -pix_fmt yuv422p"},
        {"imx30_ntsc", "mxf", 720, 512, false, true,
         imx + "-b:v 30M -minrate 30M -maxrate 30M -bufsize 1001000 -rc_init_occupancy 1001000",
         "Auto Setup could not place 720x512; tessen uses NTSC, from the file's 29.97 fps, and "},
        {"imx50_pal", "mxf", 720, 608, true, true,
         imx + "-b:v 50M -minrate 50M -maxrate 50M -bufsize 2000000 -rc_init_occupancy 2000000",
         "Auto Setup could not place 720x608; tessen uses PAL, from the file's 25 fps, and "},
        {"xdcam_hd422", "mxf", 1920, 1080, false, true, m2v + "-pix_fmt yuv422p -b:v 50M -g 12 -bf 2"},
        {"hdv", "m2t", 1440, 1080, false, true, m2v + "-pix_fmt yuv420p -b:v 25M -g 15 -f mpegts"},
        {"h264", "mp4", 720, 480, false, true, x264},
        {"h264", "mts", 720, 480, false, true, x264 + "-f mpegts"},
        {"prores_hq", "mov", 720, 480, false, true, "-c:v prores_ks -profile:v 3 -flags +ildct -pix_fmt yuv422p10le"},
        {"v210", "mov", 720, 486, false, true, "-c:v v210 -field_order {t}"},
        {"mistagged", "mkv", 720, 480, false, false, "-c:v ffv1 -field_order tt",
         "the file says upper field first; its pictures are lower field first: using lower"},
    };
    auto fill = [](std::string s, bool top) {
        for (const auto& [key, t, b] : {std::tuple{"{o}", "tff", "bff"}, std::tuple{"{t}", "tt", "bb"}})
            for (size_t at; (at = s.find(key)) != std::string::npos;) s.replace(at, 3, top ? t : b);
        return s;
    };
    std::string table;
    for (const Case& c : cases)
        for (bool top : {true, false}) {
            if (top && !c.both_orders) continue;
            const std::string id = std::string(c.name) + "_" + c.ext + (top ? "_upper" : "_lower");
            SCOPED_TRACE(id);
            const std::string prog = dir.file(id + "_prog.mkv"), woven = dir.file(id + "." + c.ext),
                              out = dir.file(id + "_out.mkv");
            ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=" + std::to_string(2 * c.w) + "x" + std::to_string(c.h) +
                               ":rate=" + (c.pal ? "50" : "60000/1001") + " -frames:v 12 -vf crop=" +
                               std::to_string(c.w) + ":" + std::to_string(c.h) + ":t*300:0 -c:v ffv1 -pix_fmt bgr0 " +
                               prog));
            // The mis-tagged clip's frames say upper first too.
            const std::string flag = std::string(c.name) == "mistagged" ? "tff" : top ? "tff" : "bff";
            ASSERT_TRUE(ffmpeg("-i " + prog + " -vf tinterlace=mode=interleave_" + (top ? "top" : "bottom") +
                               ",setfield=" + flag + " " + fill(c.encode, top) + " " + woven));
            RunResult r = run_tessen({"render", woven, out, "--rate", c.pal ? "25" : "29.97"});
            ASSERT_EQ(r.exit_code, 0) << r.err;
            EXPECT_TRUE(contains(r.err, std::string(top ? "upper" : "lower") + " field first, to ")) << r.err;
            EXPECT_TRUE(contains(r.err, c.says)) << r.err;
            if (contains(c.says, "Auto Setup could not place")) {  // after the effect's own message
                EXPECT_LT(r.err.find("proceed with caution"), r.err.find(c.says)) << r.err;
            }
            const ReadBack source = read_all(prog), back = read_all(out);
            ASSERT_EQ(source.frames.size(), 12u);
            ASSERT_EQ(back.frames.size(), 6u);
            double sum = 0;
            for (size_t k = 0; k < back.frames.size(); ++k) {
                const double own = psnr(back.frames[k], source.frames[2 * k]);
                sum += own;
                if (k == 0 || k + 1 == back.frames.size()) continue;
                const double next = psnr(back.frames[k], source.frames[2 * k + 1]);
                EXPECT_GT(own, next + 1.0) << "frame " << k << ": " << own << " dB against its instant, " << next
                                           << " against the next";
            }
            const char* basis = contains(r.err, "as the pictures show") || contains(r.err, "its pictures are")
                                    ? "content"
                                : contains(r.err, "as the frames are flagged") ? "flags"
                                : contains(r.err, "as the file records it")   ? "tag"
                                                                               : "guess";
            char row[160];
            std::snprintf(row, sizeof row, "| %-20s | %-5s | %-5s | %-7s | %5.1f dB |\n", (std::string(c.name) + " ." + c.ext).c_str(),
                          top ? "upper" : "lower", top ? "upper" : "lower", basis, sum / back.frames.size());
            table += row;
        }
    std::printf("| format | made | chosen | decided by | PSNR vs progressive |\n%s", table.c_str());
}

// Each supported conversion, and --start and --frames choosing a part.
TEST(CliRender, EachSupportedConversionGivesTheExpectedFramesRateAndDuration) {
    ScratchDir dir;
    struct Case {
        const char* name;
        const char* source_rate;
        const char* source;
        std::vector<std::string> options;
        int out_frames;
        Rational out_rate;
    };
    const Case cases[] = {
        {"ntsc_to_23976", "30000/1001", "ntsc", {"--rate", "23.976"}, 8, {24000, 1001}},
        {"ntsc_to_2997", "30000/1001", "ntsc", {"--rate", "29.97"}, 10, {30000, 1001}},
        {"pal_to_25", "25", "pal", {"--rate", "25"}, 10, {25, 1}},
        // Conformed: one output frame per source frame, so the clip plays longer.
        {"pal_to_23976", "25", "pal", {"--rate", "23.976"}, 10, {24000, 1001}},
        {"from_frame_4", "25", "pal", {"--start", "4"}, 6, {25, 1}},
        {"3_from_0.2s", "25", "pal", {"--start", "0.2s", "--frames", "3"}, 3, {25, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = make_clip(dir, std::string(c.name) + "_in.mkv", 32, 24, c.source_rate, 10);
        const std::string out = dir.file(std::string(c.name) + "_out.mkv");
        std::vector<std::string> options = c.options;
        options.push_back("--quiet");
        RunResult r = run_tessen(render(in, out, c.source, "lower", options));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        EXPECT_EQ(r.err, "");  // --quiet
        ReadBack rb = read_all(out);
        EXPECT_EQ(static_cast<int>(rb.frames.size()), c.out_frames);
        EXPECT_EQ(rb.info.frame_rate, c.out_rate);
        EXPECT_EQ(rb.info.width, 32);
        if (rb.info.duration_seconds > 0) {
            EXPECT_NEAR(rb.info.duration_seconds, c.out_frames / c.out_rate.value(), 0.5 / c.out_rate.value());
        }
    }
}

// A still picture, upper field first. Passed through, it comes back exactly.
// Deinterlaced, the fields weave back together except for the last field
// line, which the merge deliberately leaves out: the bottom two rows keep the
// blended base. The "Field 0" view and the draft path give the upper field
// with the lower lines interpolated: even rows exact, odd rows not.
TEST(CliRender, StillClipThroughFfv1ComesBackExactly) {
    ScratchDir dir;
    const HostFrame still = noise_frame(32, 24, 8, 7);
    const std::string in = write_clip(dir, "still.mkv", std::vector<HostFrame>(3, still), {25, 1});
    enum Expect { kExact, kAllButLastTwoRows, kEvenRowsOnly };
    struct Case {
        const char* name;
        std::vector<std::string> extra;
        Expect expect;
    };
    const Case cases[] = {
        {"passthrough 8-bit", {"--no-deinterlace"}, kExact},
        {"passthrough 16-bit", {"--no-deinterlace", "--depth", "16"}, kExact},
        {"deinterlaced 8-bit", {}, kAllButLastTwoRows},
        {"deinterlaced 16-bit", {"--depth", "16"}, kAllButLastTwoRows},
        {"field 0 view", {"--show", "field0"}, kEvenRowsOnly},
        {"draft", {"--draft"}, kEvenRowsOnly},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string out = dir.file("out" + std::to_string(n++) + ".mkv");
        std::vector<std::string> extra = c.extra;
        extra.push_back("--quiet");
        RunResult r = run_tessen(render(in, out, "pal", "upper", extra));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        ReadBack rb = read_all(out);
        ASSERT_EQ(rb.frames.size(), 3u);
        for (size_t i = 0; i < rb.frames.size(); ++i) {
            SCOPED_TRACE(i);
            const HostFrame& f = rb.frames[i];
            int diff[2] = {0, 0};  // differing bytes on even, odd rows above the last two
            for (int y = 0; y < still.height - 2; ++y)
                for (size_t b = 0; b < f.rowbytes; ++b) diff[y % 2] += f.row8(y)[b] != still.row8(y)[b];
            EXPECT_EQ(diff[0], 0);
            EXPECT_EQ(diff[1] > 0, c.expect == kEvenRowsOnly);
            EXPECT_EQ(f.bytes == still.bytes, c.expect == kExact);
        }
    }
}

// Frame n of a file as FFmpeg decodes it, converted to 16-bit 4:4:4 Y'CbCr.
bool decoded_yuv16(const std::string& file, int n, std::string* raw) {
    return ffmpeg_output("-v error -i " + file + " -vf 'select=eq(n\\," + std::to_string(n) +
                             ")' -frames:v 1 -pix_fmt yuv444p16le -f rawvideo -",
                         raw, "ffmpeg");
}

// Luma codes (at `bits`) of frame n at (x, y) for each y, read as FFmpeg decodes the file.
std::vector<int> luma_codes(const std::string& file, int n, int x, std::initializer_list<int> ys, int bits) {
    const Probe p = probe(file);
    std::string raw;
    EXPECT_TRUE(decoded_yuv16(file, n, &raw));
    std::vector<int> codes;
    for (int y : ys) {
        const size_t at = 2 * (size_t(y) * size_t(p.width) + size_t(x));
        const int v = at + 1 < raw.size() ? uint8_t(raw[at]) | uint8_t(raw[at + 1]) << 8 : -1;
        codes.push_back(v < 0 ? -1 : v >> (16 - bits));
    }
    return codes;
}

// Bars with a PLUGE patch below black and a patch above white, in 8-bit DV
// (Y 4 16 235 250) and 10-bit v210 (Y 16 64 940 1019), over a moving picture:
// a Y'CbCr output keeps every code where the effect leaves the pixel alone
// (the patches are still), and writes the source's own family into .mkv.
// --range nominal clips to black and white as before; PNG holds nominal RGB.
TEST(CliRender, SubBlackAndSuperWhiteSurviveIntoYuvOutputs) {
    ScratchDir dir;
    struct Source {
        const char* name;
        const char* make;
        int bits;
        std::vector<int> codes;
        const char* mkv_pix_fmt;
    };
    const Source sources[] = {
        {"bars.dv", "format=yuv411p,geq=lum='if(gt(X,540),if(lt(Y,120),4,if(lt(Y,240),16,if(lt(Y,360),235,250))),"
                    "lum(X,Y))':cb='if(gt(X,135),128,cb(X,Y))':cr='if(gt(X,135),128,cr(X,Y))',setfield=bff\" -c:v dvvideo",
         8, {4, 16, 235, 250}, "yuv411p"},
        {"bars.mov", "format=yuv422p10le,geq=lum='if(gt(X,540),if(lt(Y,120),16,if(lt(Y,240),64,if(lt(Y,360),940,"
                     "1019))),lum(X,Y))':cb='if(gt(X,270),512,cb(X,Y))':cr='if(gt(X,270),512,cr(X,Y))',setfield=bff\" "
                     "-c:v v210",
         10, {16, 64, 940, 1019}, "yuv422p10le"},
    };
    for (const Source& src : sources) {
        SCOPED_TRACE(src.name);
        const std::string in = dir.file(src.name);
        ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=720x480:rate=30000/1001 -frames:v 8 -vf \"" +
                           std::string(src.make) + " " + in));
        ASSERT_EQ(luma_codes(in, 3, 630, {60, 180, 300, 420}, src.bits), src.codes);
        const int lo = src.codes[1], hi = src.codes[2];
        for (const char* out : {"out.mkv", "out.mov"}) {
            SCOPED_TRACE(out);
            const std::string o = dir.file(out), n = dir.file(std::string("nominal-") + out);
            ASSERT_EQ(run_tessen(render(in, o, "ntsc", "lower", {"--quiet", "-y"})).exit_code, 0);
            ASSERT_EQ(run_tessen(render(in, n, "ntsc", "lower", {"--quiet", "-y", "--range", "nominal"})).exit_code, 0);
            const int scale = contains(out, "mov") ? 1 << (10 - src.bits) : 1;  // ProRes is 10-bit
            std::vector<int> want;
            for (int c : src.codes) want.push_back(c * scale);
            const int ob = contains(out, "mov") ? 10 : src.bits;
            EXPECT_EQ(luma_codes(o, 2, 630, {60, 180, 300, 420}, ob), want);
            EXPECT_EQ(luma_codes(n, 2, 630, {60, 180, 300, 420}, ob),
                      (std::vector<int>{lo * scale, lo * scale, hi * scale, hi * scale}));
        }
        const Probe mkv = probe(dir.file("out.mkv"));
        EXPECT_EQ(mkv.pix_fmt, src.mkv_pix_fmt);
        EXPECT_EQ(mkv.color_range, 1);
        EXPECT_EQ(mkv.color_space, 6);  // SMPTE 170M, as the source is read
        const std::string png = dir.file("still_%02d.png");
        ASSERT_EQ(run_tessen(render(in, png, "ntsc", "lower", {"--quiet", "-y", "--frames", "1"})).exit_code, 0);
        const ReadBack back = read_all(png);
        EXPECT_EQ(value8(back.frames[0], 630, 60, 2), 0);
        EXPECT_EQ(value8(back.frames[0], 630, 180, 2), 0);
        EXPECT_EQ(value8(back.frames[0], 630, 300, 2), 255);
        EXPECT_EQ(value8(back.frames[0], 630, 420, 2), 255);
    }
}

// The value of a tag as ffprobe reads it anywhere in the file (any stream or
// the container, any case of the name); "" when missing.
std::string probed_tag(const std::string& file, const std::string& key) {
    std::string out;
    if (!ffmpeg_output("-v error -show_entries format_tags:stream_tags -of compact " + file, &out)) return "";
    std::string lower = out;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    const size_t at = lower.find("tag:" + key + "=");
    if (at == std::string::npos) return "";
    const size_t from = at + key.size() + 5;
    return out.substr(from, out.find_first_of("|\n", from) - from);
}

// Start timecode (at the output's own rate, moved by --start), reel and
// creation time of a ProRes source with a timecode track reach .mov, .mkv
// and .mp4; a PAL conform keeps the label.
TEST(CliRender, TimecodeReelAndCreationTimeReachEveryOutput) {
    ScratchDir dir;
    const std::string ntsc = dir.file("tape.mov"), pal = dir.file("pal.mov");
    const std::string tags = " -c:v prores_ks -metadata:s:v reel_name=TAPE01 -metadata creation_time=2024-01-02T03:04:05Z ";
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=64x48:rate=30000/1001 -frames:v 12 -vf setfield=bff -timecode "
                       "01:00:00\\;00" + tags + ntsc));
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=64x48:rate=25 -frames:v 6 -vf setfield=tff -timecode 10:00:00:00" +
                       tags + pal));
    struct Case {
        const std::string& in;
        const char* rate;
        const char* start;
        const char* timecode;
    };
    const Case cases[] = {{ntsc, "29.97", "5", "01:00:00;05"},
                          {ntsc, "23.976", "5", "00:59:56:14"},  // the instant of source frame 5
                          {pal, "23.976", "0", "10:00:00:00"}};
    for (const Case& c : cases)
        for (const char* ext : {"mov", "mkv", "mp4"}) {
            const std::string out = dir.file(std::string("out.") + ext);
            SCOPED_TRACE(out + " from " + c.in + " at " + c.rate);
            RunResult r = run_tessen({"render", c.in, out, "--rate", c.rate, "--start", c.start, "-y", "--quiet"});
            ASSERT_EQ(r.exit_code, 0) << r.err;
            EXPECT_EQ(probed_tag(out, "timecode"), c.timecode);
            EXPECT_EQ(probed_tag(out, "reel_name"), "TAPE01");
            EXPECT_EQ(probed_tag(out, "creation_time").substr(0, 19), "2024-01-02T03:04:05");
        }
}

// Decoding, the effect and encoding run on threads of their own unless
// --threads 1 is given. Through the effect's plain copy (deinterlacing off)
// every frame must arrive unchanged and in order, and a full render must not
// depend on the threads at either depth.
TEST(CliRender, ThreadedPipelineKeepsEveryFrameInOrderAndMatchesOneThread) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 64, 48, "30000/1001", 17);
    const ReadBack source = read_all(in);
    ASSERT_EQ(source.frames.size(), 17u);
    for (const std::string threads : {"2", "1"}) {
        SCOPED_TRACE("--threads " + threads);
        const std::string out = dir.file("copy" + threads + ".mkv");
        RunResult r = run_tessen(
            render(in, out, "ntsc", "lower", {"--rate", "29.97", "--no-deinterlace", "--threads", threads, "--quiet", "--pix-fmt", "bgr0", "--range", "nominal"}));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        const ReadBack copied = read_all(out);
        ASSERT_EQ(copied.frames.size(), source.frames.size());
        for (size_t k = 0; k < copied.frames.size(); ++k) EXPECT_EQ(copied.frames[k].bytes, source.frames[k].bytes) << k;
    }
    for (const std::string depth : {"8", "16"}) {
        SCOPED_TRACE(depth + "-bit");
        std::vector<HostFrame> results[2];
        for (int one = 0; one < 2; ++one) {
            const std::string out = dir.file("full" + depth + std::to_string(one) + ".mkv");
            RunResult r = run_tessen(render(in, out, "ntsc", "lower",
                                            {"--depth", depth, "--threads", one ? "1" : "2", "--quiet"}));
            ASSERT_EQ(r.exit_code, 0) << r.err;
            results[one] = read_all(out, std::stoi(depth)).frames;
        }
        ASSERT_EQ(results[0].size(), 14u);  // 17 frames at 29.97 -> 23.976
        ASSERT_EQ(results[1].size(), results[0].size());
        for (size_t k = 0; k < results[0].size(); ++k) EXPECT_EQ(results[0][k].bytes, results[1][k].bytes) << k;
    }
}

// Where a beep sits in the first audio stream (seconds from its first
// sample, as FFmpeg decodes it), and how long the sound is.
struct Sound {
    double beep = -1, length = 0;
};
Sound sound_of(const std::string& file) {
    std::string raw;
    EXPECT_TRUE(ffmpeg_output("-v error -i " + file + " -map 0:a:0 -ac 1 -ar 48000 -f s16le -", &raw, "ffmpeg"));
    Sound s;
    const size_t n = raw.size() / 2;
    s.length = double(n) / 48000;
    for (size_t i = 0; i < n && s.beep < 0; ++i)
        if (std::abs(int16_t(uint8_t(raw[2 * i]) | uint8_t(raw[2 * i + 1]) << 8)) > 3000) s.beep = double(i) / 48000;
    return s;
}

// The sound follows the picture: cut sample-exact for --start and --frames,
// slowed with a PAL to 23.976 conform (pitch kept or shifted); the output's
// sound is as long as its picture (within one audio frame) and a beep on a
// flash stays on the flash. --no-audio leaves it out.
TEST(CliRender, AudioFollowsThePicture) {
    ScratchDir dir;
    // A white flash on frame 45 (NTSC) or 25 (PAL) and a 1 kHz beep at that instant.
    const std::string ntsc = dir.file("ntsc.mkv"), pal = dir.file("pal.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i \"color=black:size=32x24:rate=30000/1001,geq=lum='if(eq(N,45),235,16)':cb=128:cr=128\" "
                       "-f lavfi -i \"aevalsrc='if(between(t,1.5015,1.53),sin(6283*t),0)':s=48000:c=stereo\" -t 3 "
                       "-c:v ffv1 -c:a pcm_s16le " + ntsc));
    ASSERT_TRUE(ffmpeg("-f lavfi -i \"color=black:size=32x24:rate=25,geq=lum='if(eq(N,25),235,16)':cb=128:cr=128\" "
                       "-f lavfi -i \"aevalsrc='if(between(t,1,1.04),sin(6283*t),0)':s=48000:c=stereo\" -t 3 "
                       "-metadata:s:a language=fra -metadata:s:a title=Dialogue -c:v ffv1 -c:a pcm_s16le " + pal));
    struct Case {
        const char* name;
        const std::string& in;
        std::vector<std::string> options;
        double seconds;  // of the picture
        double beep;     // the flash's time in the output
        double within;   // how close the beep must be
    };
    const Case cases[] = {
        {"cut.mkv", ntsc, {"--start", "30", "--frames", "40"}, 40 / 23.976, 15 / 29.97, 0.0001},
        {"cut.mov", ntsc, {"--rate", "29.97", "--start", "30", "--frames", "40"}, 40 / 29.97, 15 / 29.97, 0.0001},
        {"cut.mp4", ntsc, {"--start", "1.001s"}, 48 / 23.976, 15 / 29.97, 0.005},  // AAC
        {"shift.mkv", pal, {"--rate", "23.976", "--audio-pitch", "shift"}, 75 / 23.976, 25 / 23.976, 0.0001},
        {"keep.mov", pal, {"--rate", "23.976"}, 75 / 23.976, 25 / 23.976, 0.005},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::string> options = c.options;
        options.push_back("--quiet");
        const std::string out = dir.file(c.name);
        RunResult r = run_tessen(render(c.in, out, c.in == pal ? "pal" : "ntsc", "lower", options));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        const Sound s = sound_of(out);
        const double audio_frame = contains(c.name, "mp4") ? 1024 / 48000.0 : 0.0001;
        EXPECT_NEAR(s.length, c.seconds, audio_frame);
        EXPECT_NEAR(s.beep, c.beep, c.within);
        if (&c.in == &pal) {  // the sound's language, and its title where the container holds one
            std::string tags;
            ASSERT_TRUE(ffmpeg_output("-v error -select_streams a:0 -show_entries stream_tags -of compact " + out, &tags));
            EXPECT_TRUE(contains(tags, "language=fra")) << tags;
            EXPECT_EQ(contains(tags, "title=Dialogue"), contains(c.name, "mkv")) << tags;
        }
    }
    // Pieces (--range) joined without re-encoding sound as the whole run does.
    std::string list, whole_pcm, joined_pcm;
    for (const char* range : {"0-29", "30-59"}) {
        const std::string piece = dir.file(std::string("piece") + range + ".mkv");
        ASSERT_EQ(run_tessen(render(ntsc, piece, "ntsc", "lower", {"--range", range, "--quiet"})).exit_code, 0);
        list += "file '" + piece + "'\n";
    }
    std::ofstream(dir.file("list.txt")) << list;
    ASSERT_TRUE(ffmpeg("-f concat -safe 0 -i " + dir.file("list.txt") + " -c copy " + dir.file("joined.mkv")));
    ASSERT_EQ(run_tessen(render(ntsc, dir.file("whole.mkv"), "ntsc", "lower", {"--frames", "60", "--quiet"})).exit_code, 0);
    ASSERT_TRUE(ffmpeg_output("-v error -i " + dir.file("whole.mkv") + " -map 0:a -f s16le -", &whole_pcm, "ffmpeg"));
    ASSERT_TRUE(ffmpeg_output("-v error -i " + dir.file("joined.mkv") + " -map 0:a -f s16le -", &joined_pcm, "ffmpeg"));
    EXPECT_EQ(whole_pcm.size(), size_t(4 * 120120));  // 60 frames at 23.976, 48 kHz stereo
    EXPECT_TRUE(whole_pcm == joined_pcm);

    const std::string silent = dir.file("silent.mkv");
    ASSERT_EQ(run_tessen(render(pal, silent, "pal", "lower", {"--no-audio", "--quiet"})).exit_code, 0);
    EXPECT_EQ(probe(silent).audio_streams, 0);
}

// Audio the output's container cannot hold as it is is converted, never a
// failed render: FLAC becomes PCM in QuickTime (lossless stays lossless, to
// the sample), FLAC, Opus and PCM become AAC in MP4; Matroska keeps them.
TEST(CliRender, AudioTheContainerCannotHoldIsConverted) {
    ScratchDir dir;
    struct Case {
        const char* source;  // audio codec of the input
        const char* output;
        const char* expected;  // audio codec written
    };
    const Case cases[] = {
        {"flac", "flac.mov", "pcm_s16le"}, {"flac", "flac.mp4", "aac"},  {"libopus", "opus.mov", "aac"},
        {"libopus", "opus.mp4", "aac"},    {"pcm_s16le", "pcm.mp4", "aac"}, {"flac", "flac_out.mkv", "flac"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.output);
        const std::string in = dir.file(std::string(c.source) + ".mkv");
        if (!fs::exists(in)) {
            ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=32x24:rate=25 -f lavfi -i sine=duration=0.4:sample_rate=48000 "
                               "-frames:v 10 -c:v ffv1 -c:a " + std::string(c.source) + " " + in));
        }
        const std::string out = dir.file(c.output);
        RunResult r = run_tessen(render(in, out, "pal", "lower"));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        const std::string codec = c.expected;
        EXPECT_EQ(contains(r.err, "is converted to"), codec != "flac") << r.err;
        std::string probed;
        ASSERT_TRUE(ffmpeg_output("-v error -select_streams a -show_entries stream=codec_name -of csv=p=0 " + out, &probed));
        EXPECT_EQ(probed, codec + "\n");
    }
    // Lossless in, lossless out: the PCM in QuickTime is the FLAC's samples.
    std::string a, b;
    ASSERT_TRUE(ffmpeg_output("-v error -i " + dir.file("flac.mkv") + " -map 0:a -f s16le -", &a, "ffmpeg"));
    ASSERT_TRUE(ffmpeg_output("-v error -i " + dir.file("flac.mov") + " -map 0:a -f s16le -", &b, "ffmpeg"));
    EXPECT_EQ(a.size(), 0.4 * 48000 * 2);
    EXPECT_TRUE(a == b);
}

// Frames are placed by their timestamps: a capture that dropped frames 5 to
// 9 keeps its length, the frame before the gap standing in for the missing
// ones, and tessen says how many it repeated.
TEST(CliRender, DroppedFramesArePlacedByTheirTimestamps) {
    ScratchDir dir;
    const std::string full = dir.file("full.mkv"), gappy = dir.file("gappy.mkv"), out = dir.file("out.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=32x24:rate=25 -frames:v 20 -c:v ffv1 -pix_fmt bgr0 " + full));
    ASSERT_TRUE(ffmpeg("-i " + full + " -vf select='not(between(n\\,5\\,9))' -fps_mode passthrough -c:v ffv1 " + gappy));
    RunResult r = run_tessen(render(gappy, out, "pal", "lower", {"--no-deinterlace"}));
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "5 repeated")) << r.err;
    const ReadBack original = read_all(full), back = read_all(out);
    ASSERT_EQ(back.frames.size(), 20u);
    for (size_t k = 0; k < 20; ++k) {
        const size_t shown = k >= 5 && k <= 9 ? 4 : k;
        EXPECT_TRUE(back.frames[k].bytes == original.frames[shown].bytes) << "frame " << k;
    }
}

// The effect keeps the input's alpha, and so does the output where its
// format can hold it: ProRes 4444 in QuickTime, FFV1 and PNG with alpha. An
// H.264 output has none and says so.
TEST(CliRender, AlphaOfTheSourceIsKeptWhereTheOutputHoldsIt) {
    ScratchDir dir;
    const std::string in = dir.file("argb.mov");
    ASSERT_TRUE(ffmpeg("-f lavfi -i \"testsrc2=size=64x48:rate=25,format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':"
                       "a='X*4'\" -frames:v 6 -c:v qtrle -pix_fmt argb " + in));
    const ReadBack source = read_all(in);
    ASSERT_TRUE(source.info.has_alpha);
    struct Case {
        const char* name;
        const char* read_as;
        double tolerance;
    };
    const Case cases[] = {{"out.mov", "out.mov", 1.0}, {"out.mkv", "out.mkv", 0.0}, {"out_%03d.png", "out_%03d.png", 0.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RunResult r = run_tessen(render(in, dir.file(c.name), "pal", "lower"));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        EXPECT_FALSE(contains(r.err, "alpha")) << r.err;
        const ReadBack back = read_all(dir.file(c.read_as));
        ASSERT_TRUE(back.info.has_alpha);
        ASSERT_EQ(back.frames.size(), source.frames.size());
        for (size_t k = 0; k < back.frames.size(); ++k)
            for (int y = 0; y < 48; y += 5)
                for (int x = 0; x < 64; x += 3)
                    ASSERT_NEAR(value8(back.frames[k], x, y, 0), value8(source.frames[k], x, y, 0), c.tolerance)
                        << k << " " << x << "," << y;
    }
    RunResult r = run_tessen(render(in, dir.file("out.mp4"), "pal", "lower"));
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "alpha channel is left out")) << r.err;
}

TEST(CliAutoSetup, ReportsTheEffectsMessageForNtscAndPal) {
    ScratchDir dir;
    const std::string ntsc = make_clip(dir, "ntsc.mkv", 720, 480, "30000/1001", 1);
    const std::string pal = make_clip(dir, "pal.mkv", 720, 576, "25", 1);
    const std::string odd = make_clip(dir, "odd.mkv", 32, 24, "30000/1001", 1);
    const std::string hd = make_clip(dir, "hd.mkv", 1920, 1080, "30000/1001", 1);
    struct Case {
        std::vector<std::string> args;
        std::initializer_list<const char*> says;
    };
    const Case cases[] = {
        {{ntsc},
         {"Auto Setup Successful!", "your footage is NTSC", "most likely Lower Field First", "23.976",
          "Source Video: NTSC rates (59.94 fields/s), 720x480", "Field Order: Lower Field First",
          "note: tessen render refuses it: a still image"}},
        {{pal}, {"Auto Setup Successful!", "your footage is PAL", "Source Video: PAL rates (50 fields/s), 720x576"}},
        // PAL in a 23.976 composition: the effect's long message arrives cut
        // at 255 characters; tessen prints all of them and says where the cut is.
        {{pal, "--rate", "23.976"},
         {"Since your comp is set to 23.976 fps", "as long as your footage is properly int\n",
          "cut its message at 255 characters"}},
        // HD is NTSC or PAL by its field rate, which tessen names.
        {{hd},
         {"either HD 1080/60i or 1080/50i", "from your HD source. It's a\n", "cut its message at 255 characters",
          "Source Video: NTSC rates (59.94 fields/s), 1920x1080", "Field Order: Upper Field First"}},
        // At a size Auto Setup does not know, it says so in its own words.
        {{odd}, {"Auto Setup Failed."}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.size() > 1 ? "pal at 23.976" : c.args[0]);
        std::vector<std::string> args = {"auto-setup"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunResult r = run_tessen(args);
        ASSERT_EQ(r.exit_code, 0) << r.err;
        expect_all(r.out, c.says);
    }
}

TEST(CliAutoSetup, RenderPressesTheButtonAndThePicturesFieldOrderWins) {
    ScratchDir dir;
    // 720 x 480 suggests lower field first; the pictures are upper first.
    const std::string in = dir.file("tff.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=1440x480:rate=60000/1001 -frames:v 8 -vf "
                       "crop=720:480:t*300:0,tinterlace=mode=interleave_top,setfield=tff -c:v ffv1 " + in));
    const std::string out = dir.file("out.mkv");
    RunResult r = run_tessen({"render", in, out, "--frames", "1"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    expect_all(r.err, {"Auto Setup (NTSC rates (59.94 fields/s), 720x480, in a 23.976 fps composition) says:",
                       "Auto Setup Successful!", "upper field first, as the pictures show", "Auto Setup guessed lower",
                       "converting NTSC rates (59.94 fields/s), 720x480, upper field first, to 23.976 fps"});
    EXPECT_EQ(read_all(out).frames.size(), 1u);
}

// A folder this process cannot create files in, also when running as root.
std::string unwritable_folder(const ScratchDir& dir) {
    const std::string locked = dir.file("locked");
    fs::create_directory(locked);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
    const std::string probe = locked + "/probe";
    if (std::FILE* f = std::fopen(probe.c_str(), "w")) {  // root ignores permissions
        std::fclose(f);
        fs::remove(probe);
        return "/sys";
    }
    return locked;
}

TEST(CliErrors, BadInputsEndWithOneLineAnExitCodeAndNoOutput) {
    ScratchDir dir;
    const std::string good = make_clip(dir, "good.mkv", 32, 24, "30000/1001", 4);
    const std::string tiny = make_clip(dir, "tiny.mkv", 8, 4, "30000/1001", 1);
    const std::string film = make_clip(dir, "film.mkv", 32, 24, "24", 1);
    // Files cut in half: the frames before the cut decode, then the damage shows.
    const std::string cut = make_clip(dir, "cut.mkv", 32, 24, "30000/1001", 30);
    const std::string cut_mp4 = dir.file("cut.mp4");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=32x24:rate=30000/1001 -frames:v 30 -c:v libx264 -g 5 -bf 0 "
                       "-movflags +faststart " + cut_mp4));
    for (const std::string& f : {cut, cut_mp4}) fs::resize_file(f, fs::file_size(f) / 2);
    // DV with sound whose frame 40 claims the other standard in its header:
    // the DV reader reports that as -1, which is EPERM.
    const std::string dv = dir.file("damaged.dv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=720x480:rate=30000/1001 -f lavfi -i sine=sample_rate=48000 -t 1.7 "
                       "-vf setfield=bff -c:v dvvideo -pix_fmt yuv411p -c:a pcm_s16le -ac 2 " + dv));
    {
        std::fstream f(dv, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(40 * 120000 + 3);
        f.put(char(0xbf));
    }
    ASSERT_TRUE(ffmpeg("-f lavfi -i sine=duration=0.2 -c:a pcm_s16le " + dir.file("sound.mkv")));
    std::ofstream(dir.file("junk.mkv")) << "this is not a video\n";
    fs::create_directory(dir.file("folder.mkv"));
    // A progressive pan at 29.97 and a still picture: nothing to deinterlace.
    const std::string prog = dir.file("prog.mkv"), still = dir.file("still.png");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=192x48:rate=30000/1001 -frames:v 8 -vf crop=96:48:t*100:0 "
                       "-c:v ffv1 " + prog));
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=64x48 -frames:v 1 " + still));
    const std::string locked = unwritable_folder(dir);
    const std::vector<std::string> inputs = dir.entries();
    const std::string out = dir.file("out.mkv");
    struct Case {
        const char* what;
        std::vector<std::string> args;
        int exit_code;
        std::initializer_list<const char*> says;  // in the last line
    };
    const Case cases[] = {
        {"missing input", render(dir.file("nothing.mkv"), out, "ntsc", "lower"), 3, {"nothing.mkv", "not found"}},
        {"a folder as input", render(dir.file("folder.mkv"), out, "ntsc", "lower"), 3, {"folder.mkv", "folder"}},
        {"no video stream", render(dir.file("sound.mkv"), out, "ntsc", "lower"), 3,
         {"sound.mkv", "contains no video stream"}},
        {"not a video", render(dir.file("junk.mkv"), out, "ntsc", "lower"), 3, {"junk.mkv", "not a video file"}},
        {"truncated mkv", render(cut, out, "ntsc", "lower"), 3, {"cut.mkv", "frame"}},
        {"truncated mp4", render(cut_mp4, out, "ntsc", "lower"), 3, {"cut.mp4", "frame"}},
        {"damaged DV", render(dv, out, "ntsc", "lower"), 3, {"damaged.dv", "damaged at frame 40"}},
        {"below the minimum size", render(tiny, out, "ntsc", "lower"), 4, {"minimum"}},
        {"NTSC to 25", render(good, out, "ntsc", "lower", {"--rate", "25"}), 4, {"unsupported conversion"}},
        {"24 fps source", {"render", film, out, "--quiet"}, 4, {"unsupported conversion"}},
        {"progressive source", {"render", prog, out}, 4, {"prog.mkv", "progressive", "no combing", "--force"}},
        {"still image", {"render", still, out}, 4, {"still.png", "a still image", "--force"}},
        {"output folder missing", render(good, dir.file("no/such/dir/out.mkv"), "ntsc", "lower"), 5,
         {"out.mkv", "does not exist"}},
        {"output folder unwritable", render(good, locked + "/out.mkv", "ntsc", "lower"), 5,
         {"out.mkv", "cannot write in the folder"}},
        {"unknown output kind", render(good, dir.file("out.xyz"), "ntsc", "lower"), 2, {"out.xyz"}},
        {"PNG without a frame number", render(good, dir.file("out.png"), "ntsc", "lower"), 2, {"%05d"}},
        {"--pix-fmt for .mp4", render(good, dir.file("out.mp4"), "ntsc", "lower", {"--pix-fmt", "yuv420p"}), 2,
         {"out.mp4", "--pix-fmt applies to .mkv"}},
        {"--pix-fmt FFV1 does not write", render(good, out, "ntsc", "lower", {"--pix-fmt", "nv12"}), 2,
         {"out.mkv", "choose one of", "yuv422p10le"}},
    };
    for (const Case& c : cases)
        for (bool one_thread : {false, true}) {
            // The decoding thread's errors, on one thread and on its own.
            if (one_thread && !contains(c.what, "truncated")) continue;
            SCOPED_TRACE(std::string(c.what) + (one_thread ? ", --threads 1" : ""));
            std::vector<std::string> args = c.args;
            if (one_thread) args.insert(args.end(), {"--threads", "1"});
            RunResult r = run_tessen(args);
            EXPECT_FALSE(r.timed_out);
            EXPECT_EQ(r.exit_code, c.exit_code) << r.err;
            const std::string line = r.last_err_line();
            EXPECT_EQ(line.rfind("tessen: ", 0), 0u) << r.err;
            expect_all(line, c.says);
            expect_only(dir, inputs);
        }
    // --force converts them anyway.
    for (const std::string& in : {prog, still}) {
        RunResult r = run_tessen({"render", in, out, "--force", "-y", "--quiet"});
        EXPECT_EQ(r.exit_code, 0) << in << ": " << r.err;
    }
}

TEST(CliErrors, AnExistingOutputIsKeptWithoutOverwrite) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 32, 24, "25", 3);
    const std::string out = dir.file("out.mkv");
    std::ofstream(out) << "keep me";
    RunResult r = run_tessen(render(in, out, "pal", "lower"));
    EXPECT_EQ(r.exit_code, 5) << r.err;
    expect_all(r.last_err_line(), {"out.mkv", "already exists", "-y"});
    EXPECT_EQ(slurp(out), "keep me");
    expect_only(dir, {"in.mkv", "out.mkv"});
    r = run_tessen(render(in, out, "pal", "lower", {"-y", "--quiet"}));
    EXPECT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(read_all(out).frames.size(), 3u);
    expect_only(dir, {"in.mkv", "out.mkv"});
}

// A file size limit makes writes fail as on a full disk: the file and the
// images of a sequence alike. The limit (8 blocks: 4 KiB under dash, which
// counts 512-byte blocks) lies far below one 16-bit image or one coded
// frame, so the very first write that matters fails whatever the encoder
// and compressor make of the picture.
TEST(CliErrors, FullDiskLeavesNothingBehind) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 320, 240, "25", 20);
    for (const char* name : {"out.mkv", "out_%05d.png"})
        for (const char* threads : {"2", "1"}) {  // the encoding thread's errors, and one thread's
            SCOPED_TRACE(std::string(name) + " --threads " + threads);
            RunResult r = run_tessen(render(in, dir.file(name), "pal", "lower", {"--threads", threads}), nullptr,
                                     "ulimit -f 8; trap '' XFSZ;");
            EXPECT_EQ(r.exit_code, 5) << r.err;
            expect_all(r.last_err_line(), {name, "file too large"});
            expect_only(dir, {"in.mkv"});
        }
}

TEST(CliErrors, InterruptStopsCleanly) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 320, 240, "25", 100);  // some seconds of work
    const std::pair<const char*, int> cases[] = {{"out.mkv", SIGINT},       {"out.mkv", SIGTERM},
                                                 {"out.mkv", SIGHUP},       {"out.mkv", SIGPIPE},
                                                 {"out_%05d.png", SIGINT}, {"out_%05d.png", SIGHUP}};
    for (const auto& [name, sig] : cases) {
            SCOPED_TRACE(std::string(name) + " signal " + std::to_string(sig));
            bool sent = false;
            // Signal once the temporary output exists, i.e. rendering is under way.
            RunResult r = run_tessen(render(in, dir.file(name), "pal", "lower"), [&](pid_t pid) {
                if (sent) return;
                for (const std::string& e : dir.entries())
                    if (e[0] == '.' && contains(e, ".tessen-")) {  // hidden, beside the output
                        kill(pid, sig);
                        sent = true;
                    }
            });
            ASSERT_TRUE(sent) << "finished before the signal: " << r.err;
            EXPECT_EQ(r.exit_code, 128 + sig) << r.err;
            EXPECT_TRUE(contains(r.last_err_line(), "interrupted")) << r.err;
            expect_only(dir, {"in.mkv"});
        }
}

TEST(CliUsage, HelpListsTheExitCodesAndUsageErrorsSayWhatIsWrong) {
    RunResult r = run_tessen({"--help"});
    EXPECT_EQ(r.exit_code, 0);
    expect_all(r.out, {"Exit codes:", "tessen render IN OUT", "OUT.mkv", "FFV1", "yuv422p10le", "OUT.mov",
                       "ProRes 422 HQ", "OUT.mp4", "H.264", "yuv420p", "viewing copy", "png"});
    r = run_tessen({"render", "a.mkv", "b.mkv", "--pattern-size", "40"});
    EXPECT_EQ(r.exit_code, 2);
    expect_all(r.err, {"--pattern-size must be"});
    r = run_tessen({});
    EXPECT_EQ(r.exit_code, 2);
    expect_all(r.err, {"usage: tessen render"});
}

}  // namespace
}  // namespace tessen::cli::testing
