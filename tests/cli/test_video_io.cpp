// Reading clips made by the ffmpeg program and writing every output kind,
// checked with libavformat and read back.
#include "cli/pixel_convert.h"
#include "cli/video_io.h"

#include "cli_test_util.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

namespace tessen::cli {
namespace testing {

Probe probe(const std::string& path) {
    Probe p;
    AVFormatContext* fmt = nullptr;
    if (avformat_open_input(&fmt, path.c_str(), nullptr, nullptr) < 0) return p;
    if (avformat_find_stream_info(fmt, nullptr) >= 0) {
        const int v = av_find_best_stream(fmt, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (v >= 0) {
            const AVStream* st = fmt->streams[v];
            const AVCodecParameters* par = st->codecpar;
            p.ok = true;
            p.codec = avcodec_get_name(par->codec_id);
            const char* pf = av_get_pix_fmt_name(AVPixelFormat(par->format));
            p.pix_fmt = pf ? pf : "";
            const char* prof = avcodec_profile_name(par->codec_id, par->profile);
            p.profile = prof ? prof : "";
            p.width = par->width;
            p.height = par->height;
            p.rate_num = st->avg_frame_rate.num;
            p.rate_den = st->avg_frame_rate.den;
            p.color_space = par->color_space;
            p.color_range = par->color_range;
            p.primaries = par->color_primaries;
            p.transfer = par->color_trc;
            p.field_order = par->field_order;
            for (unsigned i = 0; i < fmt->nb_streams; ++i)
                if (fmt->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) ++p.audio_streams;
            const AVCodec* codec = avcodec_find_decoder(par->codec_id);
            AVCodecContext* dec = avcodec_alloc_context3(codec);
            avcodec_parameters_to_context(dec, par);
            avcodec_open2(dec, codec, nullptr);
            AVPacket* pkt = av_packet_alloc();
            AVFrame* frame = av_frame_alloc();
            bool decoded = false;
            while (av_read_frame(fmt, pkt) >= 0) {
                if (pkt->stream_index == v) {
                    ++p.packets;
                    if (!decoded && avcodec_send_packet(dec, pkt) >= 0) decoded = true;
                }
                av_packet_unref(pkt);
            }
            avcodec_send_packet(dec, nullptr);
            const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(par->format));
            if (avcodec_receive_frame(dec, frame) >= 0 && d && !(d->flags & AV_PIX_FMT_FLAG_RGB)) {
                for (int c = 0; c < 3; ++c) {
                    const int w = c ? AV_CEIL_RSHIFT(frame->width, d->log2_chroma_w) : frame->width;
                    const int h = c ? AV_CEIL_RSHIFT(frame->height, d->log2_chroma_h) : frame->height;
                    double sum = 0;
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const uint8_t* row = frame->data[c] + size_t(y) * frame->linesize[c];
                            sum += d->comp[c].depth > 8 ? reinterpret_cast<const uint16_t*>(row)[x] / 4.0 : row[x];
                        }
                    p.first_plane_mean[c] = sum / (double(w) * h);
                }
            }
            av_frame_free(&frame);
            av_packet_free(&pkt);
            avcodec_free_context(&dec);
        }
    }
    avformat_close_input(&fmt);
    return p;
}

}  // namespace testing

namespace {

using testing::ffmpeg;
using testing::ScratchDir;
namespace fs = std::filesystem;

std::vector<HostFrame> read_all(VideoReader& r, int depth) {
    std::vector<HostFrame> frames;
    HostFrame f;
    while (r.read(f, depth)) frames.push_back(f);
    return frames;
}

// Mean of component c over the frame, on the 8-bit scale.
double mean8(const HostFrame& f, int c) {
    double sum = 0;
    for (int y = 0; y < f.height; ++y)
        for (int x = 0; x < f.width; ++x) sum += testing::value8(f, x, y, c);
    return sum / (double(f.width) * f.height);
}

void expect_rgb(const HostFrame& f, double r, double g, double b, double tol, const std::string& what) {
    EXPECT_NEAR(mean8(f, 1), r, tol) << what;
    EXPECT_NEAR(mean8(f, 2), g, tol) << what;
    EXPECT_NEAR(mean8(f, 3), b, tol) << what;
    EXPECT_NEAR(mean8(f, 0), 255, 0.01) << what;
}

// Rates stored rounded snap to the exact broadcast rates; others stay as they are.
TEST(FrameRate, CommonRatesAreExact) {
    EXPECT_EQ(exact_frame_rate(23.976), (Rational{24000, 1001}));
    EXPECT_EQ(exact_frame_rate(59.94), (Rational{60000, 1001}));
    EXPECT_EQ(exact_frame_rate(Rational{2997, 100}), (Rational{30000, 1001}));
    EXPECT_EQ(exact_frame_rate(Rational{150, 10}), (Rational{15, 1}));
    EXPECT_EQ(exact_frame_rate(Rational{1000, 33}).den, 33);  // 30.3 is no broadcast rate
}

// 8-bit H.264 and 10-bit ProRes sources, read at both working depths.
TEST(VideoReader, ReadsEightAndTenBitSourcesAtEitherDepth) {
    ScratchDir dir;
    const std::string h264 = dir.file("src8.mp4"), prores = dir.file("src10.mov");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=48x32:rate=30000/1001 -frames:v 4 -c:v libx264 -pix_fmt yuv420p " +
                       h264));
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=25 -frames:v 4 -c:v prores_ks -profile:v 3 "
                       "-pix_fmt yuv422p10le " +
                       prores));
    {
        VideoReader r(h264);
        const VideoInfo& info = r.info();
        EXPECT_EQ(info.bits_per_component, 8);
        EXPECT_EQ(info.frame_count, 4);
        EXPECT_FALSE(info.has_audio);
        EXPECT_EQ(info.color.matrix, AVCOL_SPC_SMPTE170M);  // untagged SD
        EXPECT_FALSE(info.color.tagged);
        const auto frames8 = read_all(r, 8);
        VideoReader r16(h264);
        const auto frames16 = read_all(r16, 16);
        ASSERT_EQ(frames8.size(), 4u);
        ASSERT_EQ(frames16.size(), 4u);
        // same pictures; the 16-bit path only keeps more precision
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(mean8(frames16[3], c), mean8(frames8[3], c), 0.6) << c;
    }
    {
        VideoReader r(prores);
        EXPECT_EQ(r.info().bits_per_component, 10);
        HostFrame f16, f8;
        ASSERT_TRUE(r.read(f16, 16));
        ASSERT_TRUE(r.read(f8, 8));
        uint16_t top = 0;
        for (int y = 0; y < f16.height; ++y)
            for (int x = 0; x < f16.width; ++x) top = std::max(top, f16.row16(y)[4 * x + 1]);
        EXPECT_LE(top, 32768);  // never beyond the host's white
        EXPECT_GT(top, 30000);
        EXPECT_EQ(r.skip(1), 1);
        const auto rest = read_all(r, 8);
        ASSERT_EQ(rest.size(), 1u);
        EXPECT_EQ(r.frames_read(), 4);
        EXPECT_EQ(r.skip(5), 0);
        VideoReader all(prores);
        const auto every = read_all(all, 8);
        ASSERT_EQ(every.size(), 4u);
        EXPECT_TRUE(rest[0].bytes == every[3].bytes);  // skipping kept the place
        EXPECT_FALSE(every[2].bytes == every[3].bytes);
    }
}

// Raw planar YUV bytes as an FFV1 clip.
std::string raw_clip(const ScratchDir& dir, const std::string& name, const std::string& pix_fmt, int w, int h,
                     const std::string& bytes, const std::string& args) {
    const std::string raw = dir.file(name + ".yuv"), mkv = dir.file(name + ".mkv");
    std::ofstream(raw, std::ios::binary) << bytes;
    EXPECT_TRUE(ffmpeg("-f rawvideo -pix_fmt " + pix_fmt + " -s " + std::to_string(w) + "x" + std::to_string(h) +
                       " -r 25 -i " + raw + " -c:v ffv1 " + args + " " + mkv))
        << name;
    return mkv;
}

// Raw YUV with known values: red in BT.601 and BT.709, limited and full
// range. Reading with the wrong matrix or range is off by 20 levels or more.
TEST(VideoReader, ConvertsYuvWithTheTaggedOrUsualMatrixAndRange) {
    ScratchDir dir;
    struct Case {
        const char* name;
        int w, h;
        char y, u, v;
        const char* tags;
        bool tagged;
    };
    const Case cases[] = {
        {"sd601", 64, 48, 81, 90, char(240), "", false},
        {"hd709", 1280, 720, 63, 102, char(240), "", false},
        {"sd709tagged", 64, 48, 63, 102, char(240), "-colorspace bt709", true},
        {"sd601full", 64, 48, 76, 85, char(255), "-colorspace smpte170m -color_range pc", true},
    };
    for (const Case& c : cases) {
        const size_t n = size_t(c.w) * c.h;
        VideoReader r(raw_clip(dir, c.name, "yuv444p", c.w, c.h,
                               std::string(n, c.y) + std::string(n, c.u) + std::string(n, c.v), c.tags));
        EXPECT_EQ(r.info().color.tagged, c.tagged) << c.name;
        HostFrame f;
        ASSERT_TRUE(r.read(f, 16));
        expect_rgb(f, 255, 0, 0, 2.5, c.name);
    }
}

// Limited-range white and black of 8- and 10-bit video, and full-range 10-bit,
// land exactly on the ends of both working depths (the scaler misses them).
TEST(VideoReader, WhiteAndBlackAreExact) {
    ScratchDir dir;
    struct Case {
        const char* name;
        const char* pix_fmt;
        int bits;
        int white, black;
        const char* tags;
    };
    const Case cases[] = {
        {"limited8", "yuv422p", 8, 235, 16, ""},
        {"limited10", "yuv422p10le", 10, 940, 64, ""},
        {"full10", "yuv420p10le", 10, 1023, 0, "-color_range pc"},
    };
    const int w = 16, h = 8;
    for (const Case& c : cases) {
        std::string bytes;
        auto put = [&](int v) {
            bytes += char(v & 0xff);
            if (c.bits > 8) bytes += char(v >> 8);
        };
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) put(y < h / 2 ? c.white : c.black);
        const int chroma_rows = std::string(c.pix_fmt).find("420") != std::string::npos ? h / 2 : h;
        for (int i = 0; i < w * chroma_rows; ++i) put(1 << (c.bits - 1));  // both planes, half width
        const std::string mkv = raw_clip(dir, c.name, c.pix_fmt, w, h, bytes, c.tags);
        for (int depth : {8, 16}) {
            VideoReader r(mkv);
            HostFrame f;
            ASSERT_TRUE(r.read(f, depth));
            const int top = depth == 8 ? 255 : 32768;
            for (int ch = 1; ch < 4; ++ch) {
                EXPECT_EQ(depth == 8 ? f.row8(0)[4 * 5 + ch] : f.row16(0)[4 * 5 + ch], top) << c.name << depth;
                EXPECT_EQ(depth == 8 ? f.row8(h - 1)[4 * 5 + ch] : f.row16(h - 1)[4 * 5 + ch], 0) << c.name << depth;
            }
        }
    }
}

// Interlaced 4:2:0 with a red upper field and a blue lower field: each
// field keeps its own colour, none of the other field's chroma.
TEST(VideoReader, InterlacedChromaStaysInItsField) {
    ScratchDir dir;
    const int w = 32, h = 48;
    std::string y, u, v;
    for (int r = 0; r < h; ++r) y += std::string(w, char(r % 2 ? 41 : 81));  // BT.601 blue / red
    for (int r = 0; r < h / 2; ++r) {
        u += std::string(w / 2, char(r % 2 ? 240 : 90));
        v += std::string(w / 2, char(r % 2 ? 110 : 240));
    }
    VideoReader r(raw_clip(dir, "fields", "yuv420p", w, h, y + u + v, "-field_order tt"));
    ASSERT_EQ(r.info().field_order, FieldOrder::UpperFirst);
    HostFrame f;
    ASSERT_TRUE(r.read(f, 8));
    for (int row : {10, 20, 30}) {
        const int x = w / 2;
        EXPECT_NEAR(testing::value8(f, x, row, 1), 255, 3) << row;  // red line
        EXPECT_NEAR(testing::value8(f, x, row, 3), 0, 3) << row;
        EXPECT_NEAR(testing::value8(f, x, row + 1, 1), 0, 3) << row + 1;  // blue line
        EXPECT_NEAR(testing::value8(f, x, row + 1, 3), 255, 3) << row + 1;
    }
}

TEST(VideoReader, ReportsFieldOrderFromTheFile) {
    ScratchDir dir;
    struct Case {
        const char* file;
        const char* args;
        FieldOrder expected;
    };
    // Tags as FFmpeg writes them of itself: setfield marks the pictures and
    // the tool picks the tag (TB / BT for top / bottom first with most
    // codecs), DV is bottom first, interlaced H.264 says which field leads.
    const Case cases[] = {
        {"bff.mkv", "-c:v ffv1 -field_order bb", FieldOrder::LowerFirst},
        {"tff.mov", "-c:v prores_ks -field_order tt", FieldOrder::UpperFirst},
        {"ildct.mp4", "-vf setfield=bff -c:v libx264 -flags +ildct+ilme -x264opts bff=1", FieldOrder::LowerFirst},
        {"prog.mkv", "-c:v ffv1 -field_order progressive", FieldOrder::Progressive},
        {"setfield-tff.mkv", "-vf setfield=tff -c:v ffv1", FieldOrder::UpperFirst},
        {"setfield-bff.mkv", "-vf setfield=bff -c:v ffv1", FieldOrder::LowerFirst},
        {"setfield-tff.mov", "-vf setfield=tff -c:v prores_ks", FieldOrder::UpperFirst},
        {"dv.mov", "-s 720x480 -vf setfield=bff -c:v dvvideo -pix_fmt yuv411p", FieldOrder::LowerFirst},
        {"h264-tff.mkv", "-vf setfield=tff -c:v libx264 -flags +ildct+ilme -top 1", FieldOrder::UpperFirst},
    };
    for (const Case& c : cases) {
        const std::string path = dir.file(c.file);
        ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=64x48:rate=30000/1001 -frames:v 3 " + std::string(c.args) +
                           " " + path))
            << c.file;
        VideoReader r(path);
        EXPECT_EQ(r.info().field_order, c.expected) << c.file << ": " << field_order_name(r.info().field_order);
    }
}

WriterOptions options(int w, int h, int depth, Rational rate) {
    WriterOptions o;
    o.width = w;
    o.height = h;
    o.depth = depth;
    o.frame_rate = rate;
    o.color = default_color_for(h);
    return o;
}

TEST(VideoWriter, LosslessOutputReadsBackBitExactAtBothDepths) {
    ScratchDir dir;
    for (int depth : {8, 16}) {
        const std::string path = dir.file("still" + std::to_string(depth) + ".mkv");
        std::vector<HostFrame> frames;
        for (unsigned i = 0; i < 3; ++i) frames.push_back(testing::noise_frame(37, 21, depth, 7 + i));
        {
            VideoWriter w(path, options(37, 21, depth, {30000, 1001}));
            for (const auto& f : frames) w.write(f);
            w.finish();
        }
        const testing::Probe p = testing::probe(path);
        EXPECT_EQ(p.codec, "ffv1");
        EXPECT_EQ(p.pix_fmt, depth == 8 ? "bgr0" : "gbrp16le");
        EXPECT_EQ(p.field_order, AV_FIELD_PROGRESSIVE);
        // Tagged as what it is: full-range RGB, no Y'CbCr matrix.
        EXPECT_EQ(p.color_space, AVCOL_SPC_RGB);
        EXPECT_EQ(p.color_range, AVCOL_RANGE_JPEG);
        VideoReader r(path);
        EXPECT_EQ(r.info().frame_rate, (Rational{30000, 1001}));
        EXPECT_EQ(r.info().color.matrix, AVCOL_SPC_RGB);
        const auto back = read_all(r, depth);
        ASSERT_EQ(back.size(), frames.size());
        for (size_t i = 0; i < frames.size(); ++i) EXPECT_TRUE(back[i].bytes == frames[i].bytes) << depth << " " << i;
    }
}

// ProRes, H.264 and PNG: readable, right size, rate, count, colour tags and
// progressive; solid colours come back close, which catches matrix mix-ups
// between SD and HD.
TEST(VideoWriter, LossyAndImageOutputsCarryTheirDescription) {
    ScratchDir dir;
    struct Case {
        const char* name;
        int w, h;
        const char* codec;
        const char* pix_fmt;
        double tol;
    };
    const Case cases[] = {
        {"hq.mov", 64, 48, "prores", "yuv422p10le", 1.5},   {"hd.mov", 1280, 720, "prores", "yuv422p10le", 1.5},
        {"sd.mp4", 64, 48, "h264", "yuv420p", 3.0},         {"hd.mp4", 1280, 720, "h264", "yuv420p", 3.0},
        {"img_%05d.png", 40, 30, "png", "rgb48be", 0.01},
    };
    const int colours[][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {200, 120, 40}};
    const Rational rate{24000, 1001};
    for (const Case& c : cases) {
        const std::string path = dir.file(c.name);
        {
            VideoWriter w(path, options(c.w, c.h, 16, rate));
            for (const auto& col : colours) w.write(testing::solid_frame(c.w, c.h, 16, col[0], col[1], col[2]));
            w.finish();
        }
        const bool png = std::string(c.codec) == "png";
        const std::string first = png ? dir.file("img_00001.png") : path;
        const testing::Probe p = testing::probe(first);
        ASSERT_TRUE(p.ok) << c.name;
        EXPECT_EQ(p.codec, c.codec) << c.name;
        EXPECT_EQ(p.pix_fmt, c.pix_fmt) << c.name;
        EXPECT_EQ(p.width, c.w);
        EXPECT_EQ(p.height, c.h);
        if (png) {
            EXPECT_TRUE(fs::exists(dir.file("img_00004.png")));
            EXPECT_FALSE(fs::exists(dir.file("img_00005.png")));
            // untagged, so viewers show it as sRGB like the video
            const std::string bytes = testing::slurp(first);
            EXPECT_EQ(bytes.find("gAMA"), std::string::npos);
            EXPECT_EQ(bytes.find("cHRM"), std::string::npos);
        } else {
            EXPECT_EQ(p.packets, 4) << c.name;
            EXPECT_EQ(p.rate_num * 1001, p.rate_den * 24000) << c.name << " " << p.rate_num << "/" << p.rate_den;
            EXPECT_EQ(p.field_order, AV_FIELD_PROGRESSIVE) << c.name;
            const bool hd = c.h >= 720;
            EXPECT_EQ(p.color_space, hd ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M) << c.name;
            EXPECT_EQ(p.primaries, hd ? AVCOL_PRI_BT709 : AVCOL_PRI_SMPTE170M) << c.name;
            EXPECT_EQ(p.transfer, AVCOL_TRC_BT709) << c.name;
            EXPECT_EQ(p.color_range, AVCOL_RANGE_MPEG) << c.name;
            // the first frame is red: BT.709 Y'CbCr 63, 102, 240; BT.601 81, 90, 240
            const double expected[3] = {hd ? 63.0 : 81.0, hd ? 102.0 : 90.0, 240.0};
            for (int k = 0; k < 3; ++k) EXPECT_NEAR(p.first_plane_mean[k], expected[k], 1.5) << c.name << " " << k;
        }
        if (std::string(c.codec) == "prores") {
            EXPECT_EQ(p.profile, "HQ");
        }
        VideoReader r(path == first ? path : dir.file("img_%05d.png"));
        const auto back = read_all(r, 16);
        ASSERT_EQ(back.size(), 4u) << c.name;
        for (size_t i = 0; i < 4; ++i)
            expect_rgb(back[i], colours[i][0], colours[i][1], colours[i][2], c.tol,
                       std::string(c.name) + " colour " + std::to_string(i));
    }
}

// Host white is exactly video white: 940 at 10 bits, 235 at 8 (the scaler
// would give 943).
TEST(VideoWriter, WhiteIsExactlyVideoWhite) {
    ScratchDir dir;
    for (const char* name : {"white.mov", "white.mp4"}) {
        {
            VideoWriter w(dir.file(name), options(64, 48, 16, {25, 1}));
            w.write(testing::solid_frame(64, 48, 16, 255, 255, 255));
            w.finish();
        }
        const testing::Probe p = testing::probe(dir.file(name));
        EXPECT_NEAR(p.first_plane_mean[0], 235.0, 0.01) << name;  // 10-bit codes are divided by 4
        EXPECT_NEAR(p.first_plane_mean[1], 128.0, 0.01) << name;
        EXPECT_NEAR(p.first_plane_mean[2], 128.0, 0.01) << name;
    }
}

// Audio is copied where the container holds it and converted with a notice
// where not. The input's first picture comes 0.2 s after its sound starts:
// the output starts with that picture at time 0, the sound before it is cut
// (whole packets) and the rest moves up by 0.2 s.
TEST(VideoWriter, CarriesAudioRetimedAgainstTheFirstPictureOrSaysWhyNot) {
    ScratchDir dir;
    const std::string src = dir.file("late_video.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=32x24:rate=25 -f lavfi -i sine=frequency=440:sample_rate=48000 "
                       "-t 1 -vf setpts=PTS+0.2/TB -c:v ffv1 -c:a pcm_s16le " +
                       src));
    VideoReader r(src);
    EXPECT_TRUE(r.info().has_audio);
    const auto frames = read_all(r, 8);
    ASSERT_EQ(frames.size(), 20u);
    for (const char* name : {"a.mov", "a.mkv", "a.mp4"}) {
        SCOPED_TRACE(name);
        const std::string out = dir.file(name);
        WriterOptions o = options(32, 24, 8, {25, 1});
        o.audio_source = src;
        VideoWriter w(out, o);
        for (const auto& f : frames) w.write(f);
        w.finish();
        const testing::Probe p = testing::probe(out);
        EXPECT_EQ(p.packets, 20);
        if (std::string(name) == "a.mp4") {  // mp4 holds no PCM: it becomes AAC
            EXPECT_EQ(w.audio_streams_copied(), 1);
            EXPECT_TRUE(testing::contains(w.audio_notice(), "(pcm_s16le) is converted to AAC")) << w.audio_notice();
            EXPECT_EQ(p.audio_streams, 1);
            continue;
        }
        EXPECT_EQ(w.audio_streams_copied(), 1);
        EXPECT_TRUE(w.audio_notice().empty()) << w.audio_notice();
        EXPECT_EQ(p.audio_streams, 1);
        AVFormatContext* fmt = nullptr;
        ASSERT_GE(avformat_open_input(&fmt, out.c_str(), nullptr, nullptr), 0);
        ASSERT_GE(avformat_find_stream_info(fmt, nullptr), 0);
        double first[2] = {1e9, 1e9}, audio_seconds = 0;
        AVPacket* pkt = av_packet_alloc();
        while (av_read_frame(fmt, pkt) >= 0) {
            const AVStream* st = fmt->streams[pkt->stream_index];
            const bool audio = st->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
            first[audio] = std::min(first[audio], pkt->pts * av_q2d(st->time_base));
            if (audio) audio_seconds += pkt->duration * av_q2d(st->time_base);
            av_packet_unref(pkt);
        }
        av_packet_free(&pkt);
        avformat_close_input(&fmt);
        EXPECT_NEAR(first[0], 0.0, 0.001);
        EXPECT_GE(first[1], 0.0);
        EXPECT_LT(first[1], 0.03);
        EXPECT_NEAR(audio_seconds, 0.8, 0.03);
    }
}

}  // namespace
}  // namespace tessen::cli
