#include "cli/ffmpeg_util.h"
#include "cli/pixel_convert.h"
#include "cli/source_picture.h"
#include "cli/video_io.h"

extern "C" {
#include <libavutil/parseutils.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <filesystem>
#include <numeric>

#include <unistd.h>

namespace tessen::cli {

namespace fs = std::filesystem;

namespace {

// Common rates within 0.05 %: n/1 and n*1000/1001.
bool snap_rate(double fps, Rational& out) {
    for (int n : {24, 30, 48, 60, 120, 240}) {
        const double ntsc = n * 1000.0 / 1001.0;
        if (std::fabs(fps - ntsc) / ntsc < 0.0005) {
            out = {n * 1000, 1001};
            return true;
        }
    }
    const double whole = std::round(fps);
    if (whole >= 1 && std::fabs(fps - whole) / whole < 0.0005) {
        out = {int(whole), 1};
        return true;
    }
    return false;
}

}  // namespace

Rational exact_frame_rate(double fps) {
    if (!(fps > 0) || !std::isfinite(fps)) return {0, 1};
    Rational r;
    if (snap_rate(fps, r)) return r;
    const AVRational q = av_d2q(fps, 1000000);
    return {q.num, q.den};
}

Rational exact_frame_rate(Rational measured) {
    if (measured.num <= 0 || measured.den <= 0) return {0, 1};
    Rational r;
    if (snap_rate(measured.value(), r)) return r;
    const int g = std::gcd(measured.num, measured.den);
    return {measured.num / g, measured.den / g};
}

const char* field_order_name(FieldOrder order) {
    switch (order) {
    case FieldOrder::Progressive: return "progressive";
    case FieldOrder::UpperFirst: return "upper first";
    case FieldOrder::LowerFirst: return "lower first";
    default: return "unknown";
    }
}

ColorInfo default_color_for(int height) {
    ColorInfo c;
    c.range = AVCOL_RANGE_MPEG;
    c.transfer = AVCOL_TRC_BT709;
    c.tagged = false;
    if (height >= 720) {
        c.matrix = AVCOL_SPC_BT709;
        c.primaries = AVCOL_PRI_BT709;
    } else {
        c.matrix = AVCOL_SPC_SMPTE170M;
        c.primaries = (height == 576 || height == 288) ? AVCOL_PRI_BT470BG : AVCOL_PRI_SMPTE170M;
    }
    return c;
}

namespace {

bool is_jpeg_range_format(int fmt) {
    return fmt == AV_PIX_FMT_YUVJ420P || fmt == AV_PIX_FMT_YUVJ422P || fmt == AV_PIX_FMT_YUVJ444P ||
           fmt == AV_PIX_FMT_YUVJ440P || fmt == AV_PIX_FMT_YUVJ411P;
}

// RGB layouts read component by component without the scaler, so that
// lossless RGB files come back bit for bit.
bool direct_rgb(const AVPixFmtDescriptor* d) {
    if (!d || !(d->flags & AV_PIX_FMT_FLAG_RGB)) return false;
    if (d->flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER |
                    AV_PIX_FMT_FLAG_HWACCEL))
        return false;
    for (int c = 0; c < d->nb_components; ++c)
        if (d->comp[c].depth > 16) return false;
    return d->nb_components >= 3;
}

// Y'CbCr layouts (planar, semi-planar or packed, 8 to 16 bits, grey
// included) converted here with exact scaling rather than by the scaler.
bool direct_yuv(const AVPixFmtDescriptor* d, int format) {
    if (!d || (d->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                           AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_HWACCEL)))
        return false;
    if (format == AV_PIX_FMT_XYZ12LE || format == AV_PIX_FMT_XYZ12BE || d->nb_components < 1) return false;
    for (int c = 0; c < d->nb_components; ++c)
        if (d->comp[c].depth < 8 || d->comp[c].depth > 16) return false;
    return d->log2_chroma_w <= 2 && d->log2_chroma_h <= 2;
}

// Linear interpolation taps for resampling n source samples onto m
// positions, position i sitting at source coordinate (i - offset) / factor.
struct Taps {
    std::vector<int> i0, i1;
    std::vector<float> f;
    Taps(int m, int n, float offset, float factor) : i0(size_t(m)), i1(size_t(m)), f(size_t(m)) {
        for (int i = 0; i < m; ++i) {
            const float p = (float(i) - offset) / factor;
            const int a = int(std::floor(p));
            f[size_t(i)] = p - float(a);
            i0[size_t(i)] = std::clamp(a, 0, n - 1);
            i1[size_t(i)] = std::clamp(a + 1, 0, n - 1);
        }
    }
};

}  // namespace

struct VideoReader::Impl {
    std::string path;
    VideoInfo info;
    AVFormatContext* fmt = nullptr;
    AVCodecContext* dec = nullptr;
    AVPacket* pkt = nullptr;
    AVFrame* frame = nullptr;
    AVFrame* rgb = nullptr;  // scaler output
    SwsContext* sws = nullptr;
    int sws_src_format = -1;
    int sws_dst_format = -1;
    int sws_height = 0;
    int stream = -1;
    bool have_frame = false;
    bool flushing = false;
    bool ended = false;
    int64_t delivered = 0;
    // Frames go out at the nominal rate by their timestamps: a gap is filled
    // by repeating the frame before it, a second frame for one slot is left
    // out (both counted, and told once the video has been read).
    AVFrame* previous = nullptr;  // the last frame given out, for repeats
    AVRational time_base{0, 1};
    int64_t first_ts = AV_NOPTS_VALUE;
    int64_t next_slot = 0;
    int64_t repeats_due = 0;
    int64_t repeated = 0;
    int64_t dropped = 0;
    std::string timing;
    int64_t expected_frames = -1;  // from a reliable container count, for truncation checks
    std::string damage;            // why reading stopped early, thrown after the frames before it
    int64_t packets = 0;           // video packets read: the file's frame where reading stops
    // Pictures with repeat-field flags (soft pulldown: film pictures flagged
    // to show three fields or two) are shown as a player shows them: each
    // picture's fields in turn, the flagged one twice, paired into frames at
    // the field rate. Timestamps then count pictures, not frames, and are
    // not used for placing.
    bool by_fields = false;
    std::deque<AVFrame*> peeked;  // decoded at open to look for the flags, not yet given out
    struct Field {
        int64_t picture;
        bool upper;
    };
    struct Picture {
        int64_t id = 0;
        AVFrame* frame = nullptr;
        HostFrame host;  // converted when first needed
        int depth = 0;
    };
    std::deque<Field> fields;       // shown fields not yet paired
    std::deque<Picture> pictures;   // the pictures those fields come from
    int64_t picture_count = 0;
    bool first_upper = true;        // parity of the field every frame begins with
    // conversion buffers, kept from frame to frame
    std::vector<float> chroma_b, chroma_r;
    std::vector<uint16_t> line_buffer, luma_buffer, alpha_buffer;
    HostLevels levels;  // of Y'CbCr converted here
    bool keep_pictures = false;  // frames carry their decoded picture

    ~Impl() {
        sws_freeContext(sws);
        av_frame_free(&rgb);
        av_frame_free(&frame);
        av_frame_free(&previous);
        for (AVFrame*& f : peeked) av_frame_free(&f);
        for (Picture& p : pictures) av_frame_free(&p.frame);
        av_packet_free(&pkt);
        avcodec_free_context(&dec);
        avformat_close_input(&fmt);
    }

    [[noreturn]] void fail(const std::string& cause) const { throw CliError(path, cause); }

    void open() {
        quiet_ffmpeg_log();
        std::error_code ec;
        const auto status = fs::status(path, ec);
        const bool sequence = is_sequence_pattern(path);  // numbered images, opened by FFmpeg
        if (!sequence) {
            if (ec || !fs::exists(status)) fail("file not found");
            if (fs::is_directory(status)) fail("is a folder, not a video file");
            if (::access(path.c_str(), R_OK) != 0) fail("cannot be read: " + io_error_text(errno));
        }

        int r = avformat_open_input(&fmt, path.c_str(), nullptr, nullptr);
        if (r == AVERROR_INVALIDDATA)
            fail("not a video file that can be read (unknown format, or a damaged or truncated file)");
        if (r < 0) fail("cannot be opened: " + av_error_text(r));
        r = avformat_find_stream_info(fmt, nullptr);
        if (r < 0) fail("cannot be read: " + av_error_text(r));

        for (unsigned i = 0; i < fmt->nb_streams; ++i) {
            const AVStream* st = fmt->streams[i];
            if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(st->disposition & AV_DISPOSITION_ATTACHED_PIC) &&
                stream < 0)
                stream = int(i);
            if (st->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) ++info.audio_streams;
        }
        info.has_audio = info.audio_streams > 0;
        if (stream < 0) fail("contains no video stream");
        AVStream* st = fmt->streams[stream];
        for (unsigned i = 0; i < fmt->nb_streams; ++i)
            if (int(i) != stream) fmt->streams[i]->discard = AVDISCARD_ALL;

        const AVCodec* codec = avcodec_find_decoder(st->codecpar->codec_id);
        info.codec_name = avcodec_get_name(st->codecpar->codec_id);
        if (!codec) fail("its video (" + info.codec_name + ") cannot be decoded by this FFmpeg");
        dec = avcodec_alloc_context3(codec);
        pkt = av_packet_alloc();
        frame = av_frame_alloc();
        rgb = av_frame_alloc();
        if (!dec || !pkt || !frame || !rgb) fail("out of memory");
        if (avcodec_parameters_to_context(dec, st->codecpar) < 0) fail("out of memory");
        dec->thread_count = 0;
        dec->pkt_timebase = st->time_base;
        r = avcodec_open2(dec, codec, nullptr);
        if (r < 0) fail("cannot decode its video (" + info.codec_name + "): " + av_error_text(r));

        // The first frame completes what the container leaves open (pixel
        // format, colour, interlacing) and shows early that decoding works.
        if (!next_frame()) {
            if (!damage.empty()) fail(damage);
            if (st->nb_frames > 0) fail("none of its video frames can be decoded (truncated or damaged)");
            fail("contains no video frames that can be decoded");
        }
        have_frame = true;
        look_for_repeat_flags();
        time_base = st->time_base;
        previous = av_frame_alloc();
        if (!previous) fail("out of memory");
        describe(st);
        describe_origin(st);
    }

    // Timecode, reel and creation time: the video stream's own tags first,
    // then a timecode track's or another stream's, then the container's.
    void describe_origin(const AVStream* st) {
        auto find = [&](const char* key) -> std::string {
            if (const AVDictionaryEntry* e = av_dict_get(st->metadata, key, nullptr, 0)) return e->value;
            for (unsigned i = 0; i < fmt->nb_streams; ++i)
                if (const AVDictionaryEntry* e = av_dict_get(fmt->streams[i]->metadata, key, nullptr, 0))
                    return e->value;
            if (const AVDictionaryEntry* e = av_dict_get(fmt->metadata, key, nullptr, 0)) return e->value;
            return "";
        };
        info.timecode = find("timecode");
        info.reel = find("reel_name");
        info.creation_time = find("creation_time");
        auto own = [&](const char* key) -> std::string {
            const AVDictionaryEntry* e = av_dict_get(st->metadata, key, nullptr, 0);
            return e ? e->value : "";
        };
        info.title = own("title");
        info.language = own("language");
        if (info.language == "und") info.language.clear();
    }

    // The slot of the decoded frame at the nominal rate, counted from the
    // first frame's time; a frame without a time takes the next slot.
    int64_t slot_of(const AVFrame* f) {
        const int64_t ts = f->best_effort_timestamp != AV_NOPTS_VALUE ? f->best_effort_timestamp : f->pts;
        if (ts == AV_NOPTS_VALUE || info.frame_rate.num <= 0 || time_base.den == 0) return next_slot;
        if (first_ts == AV_NOPTS_VALUE) first_ts = ts;
        return std::llround(double(ts - first_ts) * av_q2d(time_base) * info.frame_rate.value());
    }

    // The next frame at the nominal rate into `out` (converted at `depth`),
    // or only counted when `out` is null; false at the end.
    bool advance(HostFrame* out, int depth) {
        if (by_fields) return advance_by_fields(out, depth);
        if (ended) return false;
        for (;;) {
            if (repeats_due == 0) {
                if (!have_frame && !next_frame()) {
                    ended = true;
                    if (repeated > 0 || dropped > 0)
                        timing = "the video's frames are placed by their timestamps at " +
                                 std::to_string(info.frame_rate.value()).substr(0, 6) + " fps: " +
                                 std::to_string(repeated) + " repeated to fill gaps, " + std::to_string(dropped) +
                                 " left out where two fell on one frame";
                    check_complete();
                    return false;
                }
                have_frame = true;
                const int64_t slot = slot_of(frame);
                if (slot < next_slot) {  // a second frame for a slot already given out
                    have_frame = false;
                    av_frame_unref(frame);
                    ++dropped;
                    continue;
                }
                if (slot > next_slot && delivered > 0) {
                    const int64_t gap = slot - next_slot;
                    const int64_t limit = std::max<int64_t>(250, int64_t(10 * info.frame_rate.value()));
                    if (gap > limit)
                        fail("its timestamps jump " + std::to_string(gap) + " frames ahead after frame " +
                             std::to_string(delivered) + ", too far to fill by repeating frames");
                    repeats_due = gap;
                }
            }
            if (repeats_due > 0) {
                // The frame before the gap once more; the held one waits.
                if (out) {
                    std::swap(frame, previous);
                    convert(*out, depth);
                    std::swap(frame, previous);
                }
                --repeats_due;
                ++repeated;
            } else {
                have_frame = false;
                if (out) convert(*out, depth);
                av_frame_unref(previous);
                av_frame_move_ref(previous, frame);
            }
            ++next_slot;
            ++delivered;
            return true;
        }
    }

    // Decodes a few pictures ahead at open: a stream with soft pulldown may
    // begin with pictures that carry no repeat flag.
    void look_for_repeat_flags() {
        constexpr size_t kLook = 8;
        AVFrame* first = av_frame_alloc();
        if (!first) fail("out of memory");
        av_frame_move_ref(first, frame);
        bool repeats = first->repeat_pict > 0;
        std::deque<AVFrame*> ahead;
        while (ahead.size() + 1 < kLook && next_frame()) {
            AVFrame* f = av_frame_alloc();
            if (!f) fail("out of memory");
            av_frame_move_ref(f, frame);
            repeats = repeats || f->repeat_pict > 0;
            ahead.push_back(f);
        }
        av_frame_move_ref(frame, first);
        av_frame_free(&first);
        peeked = std::move(ahead);
        by_fields = repeats;
    }

    const HostFrame& picture_at(int64_t id, int depth) {
        for (Picture& p : pictures) {
            if (p.id != id) continue;
            if (p.depth != depth) {
                std::swap(frame, p.frame);
                try {
                    convert(p.host, depth);
                } catch (...) {
                    std::swap(frame, p.frame);
                    throw;
                }
                std::swap(frame, p.frame);
                p.depth = depth;
            }
            return p.host;
        }
        fail("internal error: a field's picture is missing");
    }

    // The next frame of two shown fields: the first of the stream's first
    // parity, the second of the other.
    bool advance_by_fields(HostFrame* out, int depth) {
        if (ended) return false;
        for (;;) {
            // A field out of turn (a broken flag sequence) is left out so
            // that every frame keeps the stream's field order.
            while (!fields.empty() && fields.front().upper != first_upper) {
                fields.pop_front();
                ++dropped;
            }
            if (fields.size() >= 2) break;
            if (!have_frame && !next_frame()) {
                ended = true;
                if (dropped > 0)
                    timing = "its repeat-field flags break the field order " + std::to_string(dropped) +
                             " times; the fields out of turn are left out";
                check_complete();
                return false;  // a lone last field is left out
            }
            have_frame = false;
            Picture p;
            p.id = picture_count++;
            p.frame = av_frame_alloc();
            if (!p.frame) fail("out of memory");
            av_frame_move_ref(p.frame, frame);
            const int shown = 2 + std::clamp(p.frame->repeat_pict, 0, 4);
            bool upper = p.frame->top_field_first != 0;
            for (int i = 0; i < shown; ++i, upper = !upper) fields.push_back({p.id, upper});
            pictures.push_back(std::move(p));
        }
        const Field a = fields[0], b = fields[1];
        fields.pop_front();
        fields.pop_front();
        if (out) {
            const HostFrame& pa = picture_at(a.picture, depth);
            const HostFrame& pb = picture_at(b.picture, depth);
            if (pb.width != pa.width || pb.height != pa.height)
                fail("the picture size changes within the video, which is not supported");
            out->allocate(pa.width, pa.height, depth);
            for (int y = 0; y < pa.height; ++y) {
                const bool upper_line = y % 2 == 0;
                const HostFrame& from = upper_line == a.upper ? pa : pb;
                std::memcpy(out->row8(y), from.row8(y), out->rowbytes);
            }
            if (keep_pictures)
                out->picture = a.upper ? weave_pictures(pa.picture, pb.picture) : weave_pictures(pb.picture, pa.picture);
        }
        while (!pictures.empty() && (fields.empty() || pictures.front().id < fields.front().picture)) {
            av_frame_free(&pictures.front().frame);
            pictures.pop_front();
        }
        ++delivered;
        return true;
    }

    void describe(AVStream* st) {
        info.width = frame->width;
        info.height = frame->height;
        const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
        info.pixel_format = d ? d->name : "unknown";
        info.bits_per_component = d ? d->comp[0].depth : 8;
        info.chroma_shift_x = d ? d->log2_chroma_w : 0;
        info.chroma_shift_y = d ? d->log2_chroma_h : 0;
        info.is_rgb = d && (d->flags & AV_PIX_FMT_FLAG_RGB);
        info.has_alpha = d && (d->flags & AV_PIX_FMT_FLAG_ALPHA);

        AVRational rate = av_guess_frame_rate(fmt, st, frame);
        if (rate.num <= 0 || rate.den <= 0) rate = st->r_frame_rate;
        if (rate.num <= 0 || rate.den <= 0) fail("the frame rate of its video is unknown");
        info.frame_rate = exact_frame_rate(Rational{rate.num, rate.den});

        // Duration of the video alone. A stream's own duration (or, in
        // Matroska, its DURATION tag) is exact; the container's covers every
        // stream and is only trusted when the video is the only stream.
        const bool from_bitrate = fmt->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
        double exact = 0.0;
        if (st->duration != AV_NOPTS_VALUE && st->duration > 0) {
            exact = double(st->duration) * av_q2d(st->time_base);
        } else if (const AVDictionaryEntry* tag = av_dict_get(st->metadata, "DURATION", nullptr, 0)) {
            int64_t us = 0;
            // the end time of the track, not its length
            if (av_parse_time(&us, tag->value, 1) == 0 && us > 0) {
                exact = double(us) / AV_TIME_BASE;
                if (st->start_time != AV_NOPTS_VALUE) exact -= double(st->start_time) * av_q2d(st->time_base);
            }
        } else if (fmt->nb_streams == 1 && fmt->duration != AV_NOPTS_VALUE && fmt->duration > 0 && !from_bitrate) {
            exact = double(fmt->duration) / AV_TIME_BASE;
        }
        if (exact > 0) {
            info.duration_seconds = exact;
        } else if (fmt->duration != AV_NOPTS_VALUE && fmt->duration > 0) {
            double span = double(fmt->duration) / AV_TIME_BASE;
            if (fmt->start_time != AV_NOPTS_VALUE && st->start_time != AV_NOPTS_VALUE)
                span -= double(st->start_time) * av_q2d(st->time_base) - double(fmt->start_time) / AV_TIME_BASE;
            info.duration_seconds = std::max(0.0, span);
        }
        if (st->nb_frames > 0) {
            info.frame_count = st->nb_frames;
            expected_frames = st->nb_frames;
        } else if (info.duration_seconds > 0) {
            info.frame_count = int64_t(std::llround(info.duration_seconds * info.frame_rate.value()));
            if (exact > 0) expected_frames = info.frame_count;
        }

        info.field_order = field_order_from(st->codecpar->field_order);
        if (info.field_order == FieldOrder::Unknown && frame->interlaced_frame)
            info.field_order = frame->top_field_first ? FieldOrder::UpperFirst : FieldOrder::LowerFirst;
        if (by_fields) {
            // Shown by fields, the video is interlaced at the frame rate of
            // its fields: 3:2 shows 23.976 pictures as 29.97 frames.
            first_upper = frame->top_field_first != 0;
            info.field_order = first_upper ? FieldOrder::UpperFirst : FieldOrder::LowerFirst;
            info.repeat_field_flags = true;
            Rational shown = dec->framerate.num > 0 && dec->framerate.den > 0
                                 ? exact_frame_rate(Rational{dec->framerate.num, dec->framerate.den})
                                 : info.frame_rate;
            if (shown == Rational{24000, 1001}) shown = {30000, 1001};
            if (shown == Rational{24, 1}) shown = {30, 1};
            if (shown.num > 0) info.frame_rate = shown;
            expected_frames = -1;  // a picture count, not a frame count
            info.frame_count = info.duration_seconds > 0
                                   ? int64_t(std::llround(info.duration_seconds * info.frame_rate.value()))
                                   : -1;
        }

        const AVRational sar = st->sample_aspect_ratio.num > 0 ? st->sample_aspect_ratio : frame->sample_aspect_ratio;
        if (sar.num > 0 && sar.den > 0) info.sample_aspect = {sar.num, sar.den};

        // Colour: what the file states, else the usual assumption by size.
        ColorInfo c = default_color_for(info.height);
        const int fm = file_value(frame->colorspace), fr = file_value(frame->color_range);
        const int fp = file_value(frame->color_primaries), ft = file_value(frame->color_trc);
        const int matrix = listed(fm != AVCOL_SPC_UNSPECIFIED ? fm : file_value(st->codecpar->color_space),
                                  AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED);
        const int range = listed(fr != AVCOL_RANGE_UNSPECIFIED ? fr : file_value(st->codecpar->color_range),
                                 AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED);
        const int prim = listed(fp != AVCOL_PRI_UNSPECIFIED ? fp : file_value(st->codecpar->color_primaries),
                                AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED);
        const int trc = listed(ft != AVCOL_TRC_UNSPECIFIED ? ft : file_value(st->codecpar->color_trc),
                               AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED);
        if (info.is_rgb) {
            c.matrix = AVCOL_SPC_RGB;
            c.range = AVCOL_RANGE_JPEG;
            c.tagged = true;
        } else if (matrix != AVCOL_SPC_UNSPECIFIED && matrix != AVCOL_SPC_RESERVED && matrix != AVCOL_SPC_RGB) {
            c.matrix = matrix;
            c.tagged = true;
        }
        if (!info.is_rgb) {
            const bool grey = d && d->nb_components <= 2;  // grey images are full range unless tagged
            if (range != AVCOL_RANGE_UNSPECIFIED)
                c.range = range;
            else if (is_jpeg_range_format(frame->format) || grey)
                c.range = AVCOL_RANGE_JPEG;
        }
        if (prim != AVCOL_PRI_UNSPECIFIED && prim != AVCOL_PRI_RESERVED && prim != AVCOL_PRI_RESERVED0)
            c.primaries = prim;
        if (trc != AVCOL_TRC_UNSPECIFIED && trc != AVCOL_TRC_RESERVED && trc != AVCOL_TRC_RESERVED0)
            c.transfer = trc;
        info.color = c;
    }

    // Decodes the next frame into `frame`; false at the end or when the
    // stream broke (then `damage` says why).
    bool next_frame() {
        if (!peeked.empty()) {
            av_frame_unref(frame);
            av_frame_move_ref(frame, peeked.front());
            av_frame_free(&peeked.front());
            peeked.pop_front();
            return true;
        }
        for (;;) {
            int r = avcodec_receive_frame(dec, frame);
            if (r == 0) return true;
            if (r == AVERROR_EOF) return false;
            if (r != AVERROR(EAGAIN)) {
                if (damage.empty()) damage = stop_text(r, false, delivered);
                return false;
            }
            if (flushing) return false;
            r = av_read_frame(fmt, pkt);
            if (r < 0) {
                if (r != AVERROR_EOF) damage = stop_text(r, fmt->pb && fmt->pb->error < 0, packets);
                avcodec_send_packet(dec, nullptr);
                flushing = true;
                continue;
            }
            if (pkt->stream_index != stream) {
                av_packet_unref(pkt);
                continue;
            }
            ++packets;
            r = avcodec_send_packet(dec, pkt);
            av_packet_unref(pkt);
            if (r < 0 && r != AVERROR(EAGAIN)) {
                // Keep what is already decoded, then stop with the cause.
                damage = stop_text(r, false, packets - 1);
                avcodec_send_packet(dec, nullptr);
                flushing = true;
            }
        }
    }

    // Why reading stopped, at the frame of the file (counted from 0) where it
    // did. Demuxers and decoders report damaged data with assorted codes (DV
    // even with -1, which would read as "permission denied"), so only an
    // error of the file itself (`io`) is named by its code.
    std::string stop_text(int r, bool io, int64_t frame_index) const {
        const std::string at = "frame " + std::to_string(frame_index);
        if (io) return "reading stopped at " + at + ": " + av_error_text(fmt->pb->error);
        if (r == AVERROR(ENOMEM)) return "out of memory at " + at;
        return "the video data is damaged at " + at + "; the file cannot be read past it";
    }

    void check_complete() {
        if (!damage.empty()) fail(damage);
        if (expected_frames > 0) {
            const int64_t missing = expected_frames - delivered;
            if (missing > std::max<int64_t>(2, expected_frames / 50))
                fail("the file ends early: " + std::to_string(delivered) + " of " + std::to_string(expected_frames) +
                     " frames could be read (truncated or damaged)");
        }
    }

    void convert(HostFrame& out, int depth) {
        if (frame->width != info.width || frame->height != info.height)
            fail("the picture size changes within the video (" + std::to_string(info.width) + "x" +
                 std::to_string(info.height) + " to " + std::to_string(frame->width) + "x" +
                 std::to_string(frame->height) + "), which is not supported");
        out.allocate(frame->width, frame->height, depth);
        const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
        if (direct_rgb(d))
            convert_rgb(d, out);
        else if (direct_yuv(d, frame->format))
            convert_yuv(d, out);
        else
            convert_scaled(d, out);
        if (keep_pictures) out.picture = share_picture(frame);
    }

    void convert_rgb(const AVPixFmtDescriptor* d, HostFrame& out) {
        const int w = frame->width;
        const bool alpha = (d->flags & AV_PIX_FMT_FLAG_ALPHA) && d->nb_components >= 4;
        std::vector<uint16_t> line(size_t(w) * 4);
        uint16_t* comp[4] = {line.data(), line.data() + w, line.data() + 2 * w, line.data() + 3 * w};
        const uint8_t* planes[4] = {frame->data[0], frame->data[1], frame->data[2], frame->data[3]};
        const int bits[4] = {d->comp[0].depth, d->comp[1].depth, d->comp[2].depth, alpha ? d->comp[3].depth : 8};
        for (int y = 0; y < frame->height; ++y) {
            for (int c = 0; c < (alpha ? 4 : 3); ++c)
                av_read_image_line2(comp[c], planes, frame->linesize, d, 0, y, c, w, 0, 2);
            if (out.depth == 8) {
                uint8_t* o = out.row8(y);
                for (int x = 0; x < w; ++x) {
                    o[4 * x + 0] = alpha ? u8_from_bits(comp[3][x], bits[3]) : 255;
                    for (int c = 0; c < 3; ++c)
                        o[4 * x + 1 + c] = bits[c] == 8 ? uint8_t(comp[c][x]) : u8_from_bits(comp[c][x], bits[c]);
                }
            } else {
                uint16_t* o = out.row16(y);
                for (int x = 0; x < w; ++x) {
                    o[4 * x + 0] = alpha ? host16_from_bits(comp[3][x], bits[3]) : uint16_t(kHostMax16);
                    for (int c = 0; c < 3; ++c) o[4 * x + 1 + c] = host16_from_bits(comp[c][x], bits[c]);
                }
            }
        }
    }

    // Whether the picture being converted keeps each field's chroma apart.
    // Pictures shown by their fields say so themselves: a film picture is
    // whole, and its fields pair again into exactly it.
    bool interlaced() const {
        if (by_fields) return frame->interlaced_frame != 0;
        return info.field_order == FieldOrder::UpperFirst || info.field_order == FieldOrder::LowerFirst;
    }

    void convert_yuv(const AVPixFmtDescriptor* d, HostFrame& out) {
        const int w = frame->width, h = frame->height;
        const int sx = d->log2_chroma_w, sy = d->log2_chroma_h;
        const int cw = AV_CEIL_RSHIFT(w, sx), ch = AV_CEIL_RSHIFT(h, sy);
        const bool chroma = d->nb_components >= 3;
        const int alpha = (d->flags & AV_PIX_FMT_FLAG_ALPHA) ? d->nb_components - 1 : -1;
        const YuvCoefficients k =
            YuvCoefficients::make(info.color.matrix, info.color.range == AVCOL_RANGE_JPEG, d->comp[0].depth, levels);
        const uint8_t* planes[4] = {frame->data[0], frame->data[1], frame->data[2], frame->data[3]};

        // Chroma siting: horizontally co-sited with the even luma samples
        // unless centred; vertically centred between lines unless top or
        // bottom sited.
        const AVChromaLocation loc = frame->chroma_location;
        const bool h_centre = loc == AVCHROMA_LOC_CENTER || loc == AVCHROMA_LOC_TOP || loc == AVCHROMA_LOC_BOTTOM;
        const float v_site = (loc == AVCHROMA_LOC_TOPLEFT || loc == AVCHROMA_LOC_TOP)           ? 0.0f
                             : (loc == AVCHROMA_LOC_BOTTOMLEFT || loc == AVCHROMA_LOC_BOTTOM) ? 1.0f
                                                                                                : 0.5f;
        const float hf = float(1 << sx), vf = float(1 << sy);

        // Chroma rows, already widened to the luma width.
        std::vector<float>& cb = chroma_b;
        std::vector<float>& cr = chroma_r;
        std::vector<uint16_t>& line = line_buffer;
        line.resize(size_t(std::max(w, 1)));
        if (chroma) {
            const Taps across(w, cw, h_centre ? (hf - 1) / 2 : 0.0f, hf);
            cb.resize(size_t(ch) * w);
            cr.resize(size_t(ch) * w);
            for (int cy = 0; cy < ch; ++cy) {
                for (int c = 1; c <= 2; ++c) {
                    av_read_image_line2(line.data(), planes, frame->linesize, d, 0, cy, c, cw, 0, 2);
                    float* o = (c == 1 ? cb.data() : cr.data()) + size_t(cy) * w;
                    for (int x = 0; x < w; ++x) {
                        const float a = line[size_t(across.i0[x])], b = line[size_t(across.i1[x])];
                        o[x] = a + (b - a) * across.f[x];
                    }
                }
            }
        }
        // Vertical taps. Interlaced 4:2:0 keeps each field's chroma on that
        // field's lines (MPEG-2 siting: a quarter and three quarters of a
        // field line down), so colour never crosses between the two moments.
        const bool by_field = chroma && sy == 1 && interlaced() && h % 4 == 0;
        std::vector<int> r0(static_cast<size_t>(h)), r1(static_cast<size_t>(h));
        std::vector<float> rf(static_cast<size_t>(h));
        if (chroma) {
            if (by_field) {
                for (int f = 0; f < 2; ++f) {
                    const Taps down(h / 2, ch / 2, v_site == 0.5f ? (f ? 0.75f : 0.25f) : v_site, 2.0f);
                    for (int j = 0; j < h / 2; ++j) {
                        r0[size_t(2 * j + f)] = 2 * down.i0[j] + f;
                        r1[size_t(2 * j + f)] = 2 * down.i1[j] + f;
                        rf[size_t(2 * j + f)] = down.f[j];
                    }
                }
            } else {
                const Taps down(h, ch, v_site * (vf - 1), vf);
                r0 = down.i0;
                r1 = down.i1;
                rf = down.f;
            }
        }

        std::vector<uint16_t>& luma = luma_buffer;
        std::vector<uint16_t>& alpha_line = alpha_buffer;
        luma.resize(size_t(w));
        alpha_line.resize(size_t(w));
        const int alpha_bits = alpha >= 0 ? d->comp[alpha].depth : 8;
        // Grey: neutral chroma rows, which the blend leaves exactly neutral.
        if (!chroma) {
            cb.assign(size_t(w), k.c_offset);
            cr.assign(size_t(w), k.c_offset);
        }
        YuvRow row{luma.data(), nullptr, nullptr, nullptr, nullptr, 0.0f, alpha >= 0 ? alpha_line.data() : nullptr, w};
        for (int y = 0; y < h; ++y) {
            av_read_image_line2(luma.data(), planes, frame->linesize, d, 0, y, 0, w, 0, 2);
            if (alpha >= 0) {
                av_read_image_line2(alpha_line.data(), planes, frame->linesize, d, 0, y, alpha, w, 0, 2);
                for (uint16_t& a : alpha_line)
                    a = out.depth == 16 ? host16_from_bits(a, alpha_bits) : u8_from_bits(a, alpha_bits);
            }
            row.cb0 = cb.data() + (chroma ? size_t(r0[y]) * w : 0);
            row.cb1 = cb.data() + (chroma ? size_t(r1[y]) * w : 0);
            row.cr0 = cr.data() + (chroma ? size_t(r0[y]) * w : 0);
            row.cr1 = cr.data() + (chroma ? size_t(r1[y]) * w : 0);
            row.t = chroma ? rf[y] : 0.0f;
            if (out.depth == 16)
                yuv_row_to_argb16(k, row, out.row16(y));
            else
                yuv_row_to_argb8(k, row, out.row8(y));
        }
    }

    void convert_scaled(const AVPixFmtDescriptor* d, HostFrame& out) {
        // 8-bit sources to 8-bit pixels go through 8-bit ARGB (the host's
        // layout); everything else through planar 16-bit RGB (the scaler
        // writes packed 16-bit RGB much more slowly), converted to the host's
        // range here.
        const bool narrow = out.depth == 8 && d && d->comp[0].depth <= 8;
        const AVPixelFormat dst = narrow ? AV_PIX_FMT_ARGB : AV_PIX_FMT_GBRAP16;
        // Interlaced video with vertically subsampled chroma keeps each
        // field's chroma on that field's lines: convert the fields apart, so
        // that colour never bleeds from one moment in time into the other.
        const bool by_field = interlaced() && d && d->log2_chroma_h > 0 && !(d->flags & AV_PIX_FMT_FLAG_RGB) &&
                              frame->height % (2 << d->log2_chroma_h) == 0;
        const int fields = by_field ? 2 : 1;
        const int sh = frame->height / fields;
        if (!sws || sws_src_format != frame->format || sws_dst_format != dst || sws_height != sh) {
            sws_freeContext(sws);
            sws = sws_getContext(frame->width, sh, AVPixelFormat(frame->format), frame->width, sh, dst,
                                 SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr);
            if (!sws) fail("cannot convert its pixel format " + std::string(d ? d->name : "?") + " to RGB");
            const bool full = info.color.range == AVCOL_RANGE_JPEG;
            sws_setColorspaceDetails(sws, sws_coefficients_for(info.color.matrix), full ? 1 : 0,
                                     sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
            sws_src_format = frame->format;
            sws_dst_format = dst;
            sws_height = sh;
            av_frame_unref(rgb);
            rgb->format = dst;
            rgb->width = frame->width;
            rgb->height = frame->height;
            if (av_frame_get_buffer(rgb, 0) < 0) fail("out of memory");
        }
        for (int f = 0; f < fields; ++f) {
            const uint8_t* src[4] = {};
            int src_stride[4] = {};
            for (int p = 0; p < 4 && frame->data[p]; ++p) {
                src[p] = frame->data[p] + size_t(f) * frame->linesize[p];
                src_stride[p] = frame->linesize[p] * fields;
            }
            uint8_t* dst_plane[4] = {};
            int dst_stride[4] = {};
            for (int p = 0; p < 4 && rgb->data[p]; ++p) {
                dst_plane[p] = rgb->data[p] + size_t(f) * rgb->linesize[p];
                dst_stride[p] = rgb->linesize[p] * fields;
            }
            sws_scale(sws, src, src_stride, 0, sh, dst_plane, dst_stride);
        }
        const int w = frame->width;
        for (int y = 0; y < frame->height; ++y) {
            if (narrow) {
                std::memcpy(out.row8(y), rgb->data[0] + size_t(y) * rgb->linesize[0], size_t(w) * 4);
                continue;
            }
            // gbrap planes: 0 G, 1 B, 2 R, 3 A
            const uint16_t* plane[4];
            for (int p = 0; p < 4; ++p)
                plane[p] = reinterpret_cast<const uint16_t*>(rgb->data[p] + size_t(y) * rgb->linesize[p]);
            const uint16_t *g = plane[0], *b = plane[1], *r = plane[2], *a = plane[3];
            if (out.depth == 8) {
                uint8_t* o = out.row8(y);
                for (int x = 0; x < w; ++x) {
                    o[4 * x + 0] = u8_from_bits(a[x], 16);
                    o[4 * x + 1] = u8_from_bits(r[x], 16);
                    o[4 * x + 2] = u8_from_bits(g[x], 16);
                    o[4 * x + 3] = u8_from_bits(b[x], 16);
                }
            } else {
                uint16_t* o = out.row16(y);
                for (int x = 0; x < w; ++x) {
                    o[4 * x + 0] = host16_from_16(a[x]);
                    o[4 * x + 1] = host16_from_16(r[x]);
                    o[4 * x + 2] = host16_from_16(g[x]);
                    o[4 * x + 3] = host16_from_16(b[x]);
                }
            }
        }
    }
};

VideoReader::VideoReader(const std::string& path) : impl_(std::make_unique<Impl>()) {
    impl_->path = path;
    impl_->open();
}

VideoReader::~VideoReader() = default;

const VideoInfo& VideoReader::info() const { return impl_->info; }
const std::string& VideoReader::path() const { return impl_->path; }
int64_t VideoReader::frames_read() const { return impl_->delivered; }

int64_t VideoReader::skip(int64_t count) {
    int64_t n = 0;
    while (n < count && impl_->advance(nullptr, 8)) ++n;
    return n;
}

bool VideoReader::read(HostFrame& out, int depth) {
    Impl& m = *impl_;
    if (depth != 8 && depth != 16) m.fail("pixel depth must be 8 or 16, not " + std::to_string(depth));
    return m.advance(&out, depth);
}

void VideoReader::keep_pictures() { impl_->keep_pictures = true; }

const std::string& VideoReader::timing_notice() const { return impl_->timing; }

HostLevels VideoReader::use_whole_code_range() {
    Impl& m = *impl_;
    const int format = av_get_pix_fmt(m.info.pixel_format.c_str());
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(format));
    if (direct_yuv(d, format) && d->nb_components >= 3)
        m.levels = YuvCoefficients::whole_code_levels(m.info.color.range == AVCOL_RANGE_JPEG, d->comp[0].depth);
    return m.levels;
}

}  // namespace tessen::cli
