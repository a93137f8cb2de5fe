#include "cli/field_analysis.h"

#include "cli/ffmpeg_util.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

namespace tessen::cli {

namespace {

// A difference of combing this small (mean 8-bit levels per pixel) is noise
// or coding, not motion.
constexpr double kFloor = 0.25;
// How much more one weave must comb than the other to count.
constexpr double kOrderRatio = 1.15;
constexpr double kProgressiveRatio = 1.3;

struct FormatCloser {
    void operator()(AVFormatContext* f) const { avformat_close_input(&f); }
};
struct CodecCloser {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameCloser {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketCloser {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwsCloser {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};

}  // namespace

double weave_comb(const LumaPlane& upper, const LumaPlane& lower) {
    const int w = upper.width, h = upper.height;
    if (h < 3 || w < 1) return 0.0;
    auto line = [&](int y) { return (y & 1) ? lower.row(y) : upper.row(y); };
    uint64_t sum = 0;
    for (int y = 1; y + 1 < h; ++y) {
        const uint8_t* a = line(y - 1);
        const uint8_t* c = line(y);
        const uint8_t* b = line(y + 1);
        uint32_t row = 0;
        for (int x = 0; x < w; ++x) row += uint32_t(std::abs(int(a[x]) + int(b[x]) - 2 * int(c[x])));
        sum += row;
    }
    return double(sum) / (double(w) * (h - 2));
}

WeaveMeasure measure_pair(const LumaPlane& a, const LumaPlane& b) {
    WeaveMeasure m;
    m.own = weave_comb(a, a);
    m.upper_first = weave_comb(b, a);
    m.lower_first = weave_comb(a, b);
    return m;
}

ContentVerdict verdict_of(const WeaveMeasure& m) {
    const double lo = std::min(m.upper_first, m.lower_first), hi = std::max(m.upper_first, m.lower_first);
    const double own = std::max(m.own, 0.01);
    // Interlaced: the right order weaves fields half a field apart, like the
    // frame's own, and combs about as much; the wrong one, a field and a half
    // apart, combs more. Progressive: the frame's own fields belong together
    // and both weaves with its neighbour comb alike (not quite: how edges fall
    // on the lines tilts them a little). So the smoother weave sides with the
    // frame's own fields or with the other weave, whichever it is nearer.
    const double order_gap = hi / std::max(lo, 0.01), own_gap = lo / own;
    if (order_gap > own_gap && order_gap > kOrderRatio && hi - lo > kFloor)
        return m.upper_first < m.lower_first ? ContentVerdict::kUpperFirst : ContentVerdict::kLowerFirst;
    if (own_gap >= order_gap && own_gap > kProgressiveRatio && lo - m.own > kFloor) return ContentVerdict::kProgressive;
    return ContentVerdict::kUndecided;
}

void count_votes(FieldAnalysis& a) {
    a.upper_votes = a.lower_votes = a.progressive_votes = a.flagged_interlaced = a.flagged_top_first = 0;
    a.repeats_field = 0;
    for (const FrameReport& f : a.per_frame) {
        a.upper_votes += f.verdict == ContentVerdict::kUpperFirst;
        a.lower_votes += f.verdict == ContentVerdict::kLowerFirst;
        a.progressive_votes += f.verdict == ContentVerdict::kProgressive;
        a.flagged_interlaced += f.flagged_interlaced;
        a.flagged_top_first += f.flagged_interlaced && f.flagged_top_first;
        a.repeats_field += f.repeats_field;
    }
}

FieldOrder FieldAnalysis::by_content() const {
    if (upper_votes >= 2 && upper_votes > 2 * lower_votes) return FieldOrder::UpperFirst;
    if (lower_votes >= 2 && lower_votes > 2 * upper_votes) return FieldOrder::LowerFirst;
    // Pulled-down film mixes combed and clean frames; it counts as interlaced.
    if (progressive_votes >= 2 && progressive_votes > 3 * (upper_votes + lower_votes)) return FieldOrder::Progressive;
    return FieldOrder::Unknown;
}

FieldOrder FieldAnalysis::by_flags() const {
    if (flagged_interlaced * 2 <= frames) return FieldOrder::Unknown;
    return flagged_top_first * 2 > flagged_interlaced ? FieldOrder::UpperFirst : FieldOrder::LowerFirst;
}

FieldAnalysis analyse_fields(const std::string& path, int max_frames) {
    quiet_ffmpeg_log();
    FieldAnalysis result;
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.c_str(), nullptr, nullptr) < 0) throw CliError(path, "cannot be opened");
    std::unique_ptr<AVFormatContext, FormatCloser> fmt(raw);
    if (avformat_find_stream_info(fmt.get(), nullptr) < 0) throw CliError(path, "not a video file");
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(fmt.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index < 0 || !codec) throw CliError(path, "no video stream");
    AVStream* st = fmt->streams[index];
    result.tag = field_order_from(st->codecpar->field_order);

    std::unique_ptr<AVCodecContext, CodecCloser> dec(avcodec_alloc_context3(codec));
    std::unique_ptr<AVFrame, FrameCloser> frame(av_frame_alloc());
    std::unique_ptr<AVPacket, PacketCloser> packet(av_packet_alloc());
    if (!dec || !frame || !packet || avcodec_parameters_to_context(dec.get(), st->codecpar) < 0)
        throw CliError(path, "out of memory");
    dec->thread_count = 0;
    if (avcodec_open2(dec.get(), codec, nullptr) < 0) throw CliError(path, "cannot decode the video");

    std::unique_ptr<SwsContext, SwsCloser> sws;
    LumaPlane planes[2];
    int have = 0;  // planes filled so far (the newer is planes[have - 1 & 1])
    auto take = [&](AVFrame* f) {
        const int w = f->width, h = f->height;
        if (w <= 0 || h <= 0) return;
        if (!result.per_frame.empty() && (w != planes[(have - 1) & 1].width || h != planes[(have - 1) & 1].height))
            return;  // a size change ends what can be compared
        sws.reset(sws_getCachedContext(sws.release(), w, h, AVPixelFormat(f->format), w, h, AV_PIX_FMT_GRAY8,
                                       SWS_POINT, nullptr, nullptr, nullptr));
        if (!sws) return;
        LumaPlane& p = planes[have & 1];
        p.width = w;
        p.height = h;
        p.pixels.resize(size_t(w) * size_t(h));
        uint8_t* dst[4] = {p.pixels.data(), nullptr, nullptr, nullptr};
        int stride[4] = {w, 0, 0, 0};
        sws_scale(sws.get(), f->data, f->linesize, 0, h, dst, stride);
        FrameReport r;
        r.flagged_interlaced = f->interlaced_frame != 0;
        r.flagged_top_first = f->top_field_first != 0;
        r.repeats_field = f->repeat_pict > 0;
        if (have > 0) {
            FrameReport& prev = result.per_frame.back();
            prev.measure = measure_pair(planes[(have - 1) & 1], p);
            prev.verdict = verdict_of(prev.measure);
        }
        result.per_frame.push_back(r);
        ++have;
    };

    bool draining = false;
    // Frames that cannot be measured still count, so a long file of them ends the look.
    for (int decoded = 0; decoded < max_frames;) {
        int err = avcodec_receive_frame(dec.get(), frame.get());
        if (err == 0) {
            ++decoded;
            take(frame.get());
            av_frame_unref(frame.get());
            continue;
        }
        if (err == AVERROR_EOF) {
            result.ended = true;
            break;
        }
        if (err != AVERROR(EAGAIN) || draining) break;  // damaged: the reader says so
        err = av_read_frame(fmt.get(), packet.get());
        if (err < 0) {
            draining = true;
            avcodec_send_packet(dec.get(), nullptr);
            continue;
        }
        if (packet->stream_index == index && avcodec_send_packet(dec.get(), packet.get()) < 0) {
            av_packet_unref(packet.get());
            break;
        }
        av_packet_unref(packet.get());
    }
    result.frames = int(result.per_frame.size());
    count_votes(result);
    return result;
}

}  // namespace tessen::cli
