#include "cli/audio_transcode.h"
#include "cli/ffmpeg_util.h"
#include "cli/output_file.h"
#include "cli/pixel_convert.h"
#include "cli/source_picture.h"
#include "cli/video_io.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>

#include <fcntl.h>
#include <unistd.h>

namespace tessen::cli {

namespace fs = std::filesystem;

OutputKind output_kind_for(const std::string& path) {
    if (is_sequence_pattern(path)) {
        std::string ext = fs::path(path).extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        if (ext == ".png") return OutputKind::PngSequence;
        throw CliError(path, "image sequences are written as PNG; use a name such as out_%05d.png");
    }
    std::string ext = fs::path(path).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (ext == ".mov") return OutputKind::ProRes;
    if (ext == ".mkv") return OutputKind::Ffv1;
    if (ext == ".mp4") return OutputKind::H264;
    if (ext == ".png") throw CliError(path, "PNG output needs a frame number in the name, such as out_%05d.png");
    throw CliError(path, "unknown output type \"" + ext +
                             "\"; use .mov (ProRes 422 HQ), .mkv (FFV1 lossless), .mp4 (H.264) or out_%05d.png");
}

std::string output_pixel_format(OutputKind kind, const VideoInfo& source) {
    if (kind != OutputKind::Ffv1 || source.is_rgb) return "";
    static const char* const subsampling[3][3] = {{"444", "440", ""}, {"422", "420", ""}, {"411", "", "410"}};
    const int sx = std::clamp(source.chroma_shift_x, 0, 2), sy = std::clamp(source.chroma_shift_y, 0, 2);
    const std::string ss = *subsampling[sx][sy] ? subsampling[sx][sy] : "444";
    const AVCodec* codec = avcodec_find_encoder_by_name("ffv1");
    // The source's depth, else the next deeper one FFV1 stores.
    for (int bits : {8, 9, 10, 12, 14, 16}) {
        if (bits < source.bits_per_component) continue;
        const std::string name = std::string(source.has_alpha ? "yuva" : "yuv") + ss + "p" +
                                 (bits > 8 ? std::to_string(bits) + "le" : "");
        const AVPixelFormat f = av_get_pix_fmt(name.c_str());
        for (const AVPixelFormat* p = codec ? codec->pix_fmts : nullptr; p && *p != AV_PIX_FMT_NONE; ++p)
            if (*p == f) return name;
    }
    return source.has_alpha ? "yuva444p16le" : "yuv444p16le";
}

namespace {

// Pixel formats the frames are filled into: planar Y'CbCr (little-endian, 8
// to 16 bits, alpha allowed) and the RGB layouts of FFV1.
bool fillable(AVPixelFormat f) {
    if (f == AV_PIX_FMT_0RGB32 || f == AV_PIX_FMT_BGRA || f == AV_PIX_FMT_GBRP16 || f == AV_PIX_FMT_GBRAP16)
        return true;
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(f);
    if (!d || (d->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL |
                           AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_HWACCEL)))
        return false;
    if (!(d->flags & AV_PIX_FMT_FLAG_PLANAR) || d->nb_components < 3) return false;
    for (int c = 0; c < d->nb_components; ++c)
        if (d->comp[c].plane != c || d->comp[c].depth < 8 || d->comp[c].depth > 16 || d->comp[c].shift != 0)
            return false;
    return true;
}

}  // namespace

std::string pixel_format_refusal(OutputKind kind, const std::string& name) {
    if (kind != OutputKind::Ffv1 && kind != OutputKind::ProRes)
        return "--pix-fmt applies to .mkv (FFV1) and .mov (ProRes) output only";
    const AVCodec* codec = avcodec_find_encoder_by_name(kind == OutputKind::Ffv1 ? "ffv1" : "prores_ks");
    if (!codec) return "this FFmpeg has no encoder for " + std::string(output_kind_name(kind));
    const AVPixelFormat f = av_get_pix_fmt(name.c_str());
    std::string usable;
    bool taken = false;
    for (const AVPixelFormat* p = codec->pix_fmts; p && *p != AV_PIX_FMT_NONE; ++p) {
        if (!fillable(*p)) continue;
        usable += std::string(usable.empty() ? "" : ", ") + av_get_pix_fmt_name(*p);
        taken = taken || *p == f;
    }
    if (taken) return "";
    return "--pix-fmt " + name + " cannot be written as " + output_kind_name(kind) + "; choose one of " + usable;
}

const char* output_kind_name(OutputKind kind) {
    switch (kind) {
    case OutputKind::ProRes: return "ProRes 422 HQ";
    case OutputKind::Ffv1: return "FFV1 lossless";
    case OutputKind::H264: return "H.264";
    case OutputKind::PngSequence: return "16-bit PNG images";
    }
    return "?";
}

namespace {

struct Dict {
    AVDictionary* d = nullptr;
    ~Dict() { av_dict_free(&d); }
    void set(const char* k, const char* v) { av_dict_set(&d, k, v, 0); }
};

// The Y'CbCr matrices the scaler can produce.
bool yuv_matrix(int m) {
    return m == AVCOL_SPC_BT709 || m == AVCOL_SPC_FCC || m == AVCOL_SPC_BT470BG || m == AVCOL_SPC_SMPTE170M ||
           m == AVCOL_SPC_SMPTE240M || m == AVCOL_SPC_BT2020_NCL;
}

}  // namespace

struct VideoWriter::Impl {
    std::string path;
    WriterOptions opt;
    OutputKind kind{};
    std::unique_ptr<OutputFile> out;
    AVFormatContext* fmt = nullptr;
    AVCodecContext* enc = nullptr;
    AVStream* vst = nullptr;
    AVFrame* frame = nullptr;   // encoder input
    AVPacket* pkt = nullptr;
    int64_t written = 0;
    int64_t images = 0;  // PNG files written
    int64_t first_image = 1;
    bool finished = false;
    bool failed = false;
    ColorInfo color;  // as written
    // Y'CbCr out in the source's matrix and code range: a frame's decoded
    // picture goes in as it is (HostFrame::picture).
    bool take_pictures = false;

    // audio carried over from another file
    AVFormatContext* ain = nullptr;
    AVPacket* apkt = nullptr;
    bool apending = false;
    bool aeof = true;
    std::vector<int> amap;
    std::vector<std::unique_ptr<AudioTranscoder>> aconvert;  // by input stream; null: copied as it is
    int64_t aoffset = 0;  // AV_TIME_BASE units: the input's first video time becomes zero
    int acopied = 0;
    std::string anotice;
    std::string alpha_notice;

    ~Impl() {
        if (fmt && fmt->pb && !(fmt->oformat->flags & AVFMT_NOFILE)) avio_closep(&fmt->pb);
        avformat_free_context(fmt);
        avcodec_free_context(&enc);
        av_frame_free(&frame);
        av_packet_free(&pkt);
        av_packet_free(&apkt);
        avformat_close_input(&ain);
        // `out` removes the temporary unless committed.
    }

    [[noreturn]] void fail(const std::string& cause) {
        failed = true;
        throw CliError(path, cause);
    }

    void check(int r, const char* what) {
        if (r < 0) fail(std::string(what) + ": " + av_error_text(r));
    }

    void open(const std::string& target, const WriterOptions& options) {
        quiet_ffmpeg_log();
        path = target;
        opt = options;
        kind = output_kind_for(target);
        if (opt.width <= 0 || opt.height <= 0) fail("invalid picture size");
        if (opt.depth != 8 && opt.depth != 16) fail("pixel depth must be 8 or 16");
        if (opt.frame_rate.num <= 0 || opt.frame_rate.den <= 0) fail("invalid frame rate");
        if (kind == OutputKind::H264 && (opt.width % 2 || opt.height % 2))
            fail("H.264 output needs an even width and height, not " + std::to_string(opt.width) + "x" +
                 std::to_string(opt.height));
        if (kind == OutputKind::ProRes && opt.width % 2)
            fail("ProRes output needs an even width, not " + std::to_string(opt.width));

        first_image = opt.first_image;
        out = std::make_unique<OutputFile>(target, opt.overwrite, kind == OutputKind::PngSequence, opt.first_image,
                                           opt.last_image);

        const char* muxer = kind == OutputKind::ProRes ? "mov"
                            : kind == OutputKind::Ffv1 ? "matroska"
                            : kind == OutputKind::H264 ? "mp4"
                                                       : "image2";
        const char* encoder = kind == OutputKind::ProRes ? "prores_ks"
                              : kind == OutputKind::Ffv1 ? "ffv1"
                              : kind == OutputKind::H264 ? "libx264"
                                                         : "png";
        check(avformat_alloc_output_context2(&fmt, nullptr, muxer, out->write_path().c_str()), "cannot set up output");
        const AVCodec* codec = avcodec_find_encoder_by_name(encoder);
        if (!codec) fail(std::string("this FFmpeg has no ") + encoder + " encoder");
        enc = avcodec_alloc_context3(codec);
        frame = av_frame_alloc();
        pkt = av_packet_alloc();
        apkt = av_packet_alloc();
        if (!enc || !frame || !pkt || !apkt) fail("out of memory");

        enc->width = opt.width;
        enc->height = opt.height;
        enc->time_base = AVRational{opt.frame_rate.den, opt.frame_rate.num};
        enc->framerate = AVRational{opt.frame_rate.num, opt.frame_rate.den};
        enc->sample_aspect_ratio = AVRational{opt.sample_aspect.num, opt.sample_aspect.den};
        switch (opt.field_order) {
            case FieldOrder::Progressive: enc->field_order = AV_FIELD_PROGRESSIVE; break;
            case FieldOrder::UpperFirst: enc->field_order = AV_FIELD_TT; break;
            case FieldOrder::LowerFirst: enc->field_order = AV_FIELD_BB; break;
            case FieldOrder::Unknown: enc->field_order = AV_FIELD_UNKNOWN; break;
        }
        enc->thread_count = 0;

        // Colour: RGB outputs keep primaries and transfer; YUV outputs use
        // the source's matrix, or the usual one for the size.
        const ColorInfo guess = default_color_for(opt.height);
        color = opt.color;
        if (color.primaries == AVCOL_PRI_UNSPECIFIED) color.primaries = guess.primaries;
        if (color.transfer == AVCOL_TRC_UNSPECIFIED) color.transfer = guess.transfer;
        AVPixelFormat chosen = AV_PIX_FMT_NONE;
        if (!opt.pixel_format.empty()) {
            const std::string why = pixel_format_refusal(kind, opt.pixel_format);
            if (!why.empty()) fail(why);
            chosen = av_get_pix_fmt(opt.pixel_format.c_str());
        }
        const bool rgb_out = kind == OutputKind::PngSequence ||
                             (kind == OutputKind::Ffv1 &&
                              (chosen == AV_PIX_FMT_NONE || (av_pix_fmt_desc_get(chosen)->flags & AV_PIX_FMT_FLAG_RGB)));
        if (rgb_out) {
            color.matrix = AVCOL_SPC_RGB;
            color.range = AVCOL_RANGE_JPEG;
            if (!opt.levels.nominal()) make_nominal_tables(opt.depth);
        }
        if (kind == OutputKind::PngSequence) {
            // Untagged PNG is shown as sRGB, which is how the video looks on
            // an ordinary display; a gAMA chunk of the video's transfer curve
            // would make viewers brighten or darken the stills.
            color.primaries = AVCOL_PRI_UNSPECIFIED;
            color.transfer = AVCOL_TRC_UNSPECIFIED;
        } else if (!rgb_out) {
            if (!yuv_matrix(color.matrix)) color.matrix = guess.matrix;
            // A full-range source stays full range in a lossless copy.
            color.range = kind == OutputKind::Ffv1 && color.range == AVCOL_RANGE_JPEG ? AVCOL_RANGE_JPEG
                                                                                    : AVCOL_RANGE_MPEG;
        }
        take_pictures = !rgb_out && kind != OutputKind::PngSequence && !opt.alpha && color.matrix == opt.color.matrix &&
                        color.range == (opt.color.range == AVCOL_RANGE_JPEG ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG) &&
                        (color.range == AVCOL_RANGE_JPEG || !opt.levels.nominal());
        enc->colorspace = AVColorSpace(color.matrix);
        enc->color_range = AVColorRange(color.range);
        enc->color_primaries = AVColorPrimaries(color.primaries);
        enc->color_trc = AVColorTransferCharacteristic(color.transfer);

        Dict codec_opts;
        switch (kind) {
        case OutputKind::ProRes:
            // With alpha, ProRes 4444 (full chroma and a 16-bit alpha plane).
            enc->pix_fmt = chosen != AV_PIX_FMT_NONE ? chosen
                           : opt.alpha                 ? AV_PIX_FMT_YUVA444P10LE
                                                       : AV_PIX_FMT_YUV422P10LE;
            codec_opts.set("profile", av_pix_fmt_desc_get(enc->pix_fmt)->log2_chroma_w == 0 ? "4444" : "hq");
            codec_opts.set("vendor", "apl0");
            break;
        case OutputKind::Ffv1:
            // FFV1 has no planar 8-bit RGB and would pick a 9-bit format.
            if (chosen != AV_PIX_FMT_NONE)
                enc->pix_fmt = chosen;
            else if (opt.alpha)
                enc->pix_fmt = opt.depth == 8 ? AV_PIX_FMT_BGRA : AV_PIX_FMT_GBRAP16;
            else
                enc->pix_fmt = opt.depth == 8 ? AV_PIX_FMT_0RGB32 : AV_PIX_FMT_GBRP16;
            enc->gop_size = 1;
            codec_opts.set("level", "3");
            codec_opts.set("slicecrc", "1");
            codec_opts.set("coder", "range_def");
            break;
        case OutputKind::H264:
            if (opt.alpha) alpha_notice = "the source's alpha channel is left out: H.264 has none (.mov, .mkv and PNG keep it)";
            enc->pix_fmt = AV_PIX_FMT_YUV420P;
            codec_opts.set("crf", std::to_string(opt.h264_crf).c_str());
            codec_opts.set("preset", "medium");
            codec_opts.set("profile", "high");
            break;
        case OutputKind::PngSequence:
            enc->pix_fmt = opt.alpha ? AV_PIX_FMT_RGBA64BE : AV_PIX_FMT_RGB48BE;
            codec_opts.set("pred", "paeth");
            break;
        }
        if (fmt->oformat->flags & AVFMT_GLOBALHEADER) enc->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        int r = avcodec_open2(enc, codec, &codec_opts.d);
        if (r < 0) fail(std::string("cannot start the ") + encoder + " encoder: " + av_error_text(r));
        if (const AVDictionaryEntry* e = av_dict_get(codec_opts.d, "", nullptr, AV_DICT_IGNORE_SUFFIX))
            fail(std::string("the ") + encoder + " encoder does not know the option " + e->key);

        vst = avformat_new_stream(fmt, nullptr);
        if (!vst) fail("out of memory");
        check(avcodec_parameters_from_context(vst->codecpar, enc), "cannot set up output");
        vst->time_base = enc->time_base;
        vst->avg_frame_rate = enc->framerate;
        vst->r_frame_rate = enc->framerate;
        vst->sample_aspect_ratio = enc->sample_aspect_ratio;

        frame->format = enc->pix_fmt;
        frame->width = enc->width;
        frame->height = enc->height;
        check(av_frame_get_buffer(frame, 0), "out of memory");

        tag_origin();
        if (!opt.audio_source.empty()) open_audio();

        if (!(fmt->oformat->flags & AVFMT_NOFILE)) {
            r = avio_open(&fmt->pb, out->write_path().c_str(), AVIO_FLAG_WRITE);
            if (r < 0) fail("cannot write: " + av_error_text(r));
        }
        Dict mux_opts;
        // use_metadata_tags: MP4 has no place for a reel name otherwise.
        if (kind == OutputKind::H264)
            mux_opts.set("movflags", opt.reel.empty() ? "+faststart+write_colr" : "+faststart+write_colr+use_metadata_tags");
        if (kind == OutputKind::ProRes) mux_opts.set("movflags", "+write_colr");
        r = avformat_write_header(fmt, &mux_opts.d);
        if (r < 0) fail("cannot write: " + av_error_text(r));
        if (const AVDictionaryEntry* e = av_dict_get(mux_opts.d, "", nullptr, AV_DICT_IGNORE_SUFFIX))
            fail(std::string("the ") + muxer + " writer does not know the option " + e->key);
    }

    // Timecode, reel, creation time, title and language, each where the
    // container keeps it: a QuickTime timecode track (which also holds the
    // reel) in .mov and .mp4, tags in Matroska.
    void tag_origin() {
        if (kind == OutputKind::PngSequence) return;
        auto set = [](AVDictionary** d, const char* key, const std::string& value) {
            if (!value.empty()) av_dict_set(d, key, value.c_str(), 0);
        };
        set(kind == OutputKind::Ffv1 ? &fmt->metadata : &vst->metadata, "timecode", opt.timecode);
        set(&vst->metadata, "reel_name", opt.reel);
        if (kind == OutputKind::H264) set(&fmt->metadata, "reel_name", opt.reel);
        set(&fmt->metadata, "creation_time", opt.creation_time);
        if (kind == OutputKind::Ffv1) set(&vst->metadata, "title", opt.title);
        set(&vst->metadata, "language", opt.language);
    }

    void open_audio() {
        const std::string& src = opt.audio_source;
        if (kind == OutputKind::PngSequence) {
            anotice = "image sequences carry no sound; the audio is left out";
            return;
        }
        if (avformat_open_input(&ain, src.c_str(), nullptr, nullptr) < 0 ||
            avformat_find_stream_info(ain, nullptr) < 0) {
            avformat_close_input(&ain);
            anotice = "the audio of " + src + " cannot be read and is left out";
            return;
        }
        amap.assign(ain->nb_streams, -1);
        aoffset = 0;
        bool have_offset = false;
        for (unsigned i = 0; i < ain->nb_streams; ++i) {
            AVStream* st = ain->streams[i];
            if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(st->disposition & AV_DISPOSITION_ATTACHED_PIC) &&
                !have_offset && st->start_time != AV_NOPTS_VALUE) {
                aoffset = av_rescale_q(st->start_time, st->time_base, AV_TIME_BASE_Q);
                have_offset = true;
            }
            if (st->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
                st->discard = AVDISCARD_ALL;
                continue;
            }
            const char* name = avcodec_get_name(st->codecpar->codec_id);
            auto note = [&](const std::string& what) {
                if (!anotice.empty()) anotice += "; ";
                anotice += std::string("audio stream ") + std::to_string(i) + " (" + name + ") " + what;
            };
            // Sound cut or slowed with the picture is always decoded; it is
            // only said when the codec changes.
            const AudioPlan natural = plan_audio(fmt->oformat, st->codecpar);
            const AudioPlan plan = opt.audio_follow.active() && natural == AudioPlan::Copy
                                       ? plan_audio_converted(fmt->oformat, st->codecpar)
                                       : natural;
            if (plan == AudioPlan::ToAac || plan == AudioPlan::ToPcm) {
                try {
                    aconvert.resize(ain->nb_streams);
                    aconvert[i] = std::make_unique<AudioTranscoder>(st, fmt, plan, opt.audio_follow);
                    amap[i] = aconvert[i]->output_index();
                    ++acopied;
                    if (natural != AudioPlan::Copy)
                        note(std::string("is converted to ") + audio_plan_name(plan) + " for " +
                             output_kind_name(kind) + " output");
                    continue;
                } catch (const std::exception& e) {
                    note(std::string("cannot be converted (") + e.what() + ") and is left out");
                    st->discard = AVDISCARD_ALL;
                    continue;
                }
            }
            if (plan == AudioPlan::Drop) {
                note(std::string("cannot be stored in ") + output_kind_name(kind) + " output and is left out");
                st->discard = AVDISCARD_ALL;
                continue;
            }
            AVStream* os = avformat_new_stream(fmt, nullptr);
            if (!os) fail("out of memory");
            check(avcodec_parameters_copy(os->codecpar, st->codecpar), "cannot set up audio");
            os->codecpar->codec_tag = 0;
            os->time_base = st->time_base;
            os->disposition = st->disposition;
            av_dict_copy(&os->metadata, st->metadata, 0);
            amap[i] = os->index;
            ++acopied;
        }
        if (!have_offset && ain->start_time != AV_NOPTS_VALUE) aoffset = ain->start_time;
        aeof = acopied == 0;
        if (aeof) avformat_close_input(&ain);
    }

    // Writes audio packets up to `until` seconds of output time, so audio
    // and video interleave without the muxer buffering either.
    void pump_audio(double until) {
        while (!aeof) {
            if (!apending) {
                const int r = av_read_frame(ain, apkt);
                if (r < 0) {
                    aeof = true;  // the audio ends (or breaks) here; the video goes on
                    break;
                }
                if (apkt->stream_index < 0 || apkt->stream_index >= int(amap.size()) || amap[apkt->stream_index] < 0) {
                    av_packet_unref(apkt);
                    continue;
                }
                apending = true;
            }
            AVStream* is = ain->streams[apkt->stream_index];
            const int64_t shift = av_rescale_q(aoffset, AV_TIME_BASE_Q, is->time_base);
            const int64_t ts = apkt->dts != AV_NOPTS_VALUE ? apkt->dts : apkt->pts;
            if (ts != AV_NOPTS_VALUE &&
                double(ts - shift) * av_q2d(is->time_base) * opt.audio_follow.stretch - opt.audio_follow.start > until)
                break;
            apending = false;
            if (apkt->pts != AV_NOPTS_VALUE) apkt->pts -= shift;
            if (apkt->dts != AV_NOPTS_VALUE) apkt->dts -= shift;
            if (shift != 0 && apkt->pts != AV_NOPTS_VALUE && apkt->pts < 0) {
                // Sound from before the first picture. A packet reaching over
                // it goes too: kept, it would make the muxer shift the picture.
                // (Unshifted sound keeps its own lead-in, such as AAC priming.)
                av_packet_unref(apkt);
                continue;
            }
            if (apkt->stream_index < int(aconvert.size()) && aconvert[apkt->stream_index]) {
                int r = 0;
                try {
                    r = aconvert[apkt->stream_index]->send(apkt);
                } catch (const std::exception& e) {
                    av_packet_unref(apkt);
                    fail(std::string("cannot convert the audio: ") + e.what());
                }
                av_packet_unref(apkt);
                if (r < 0) fail("cannot write: " + av_error_text(r));
                continue;
            }
            AVStream* os = fmt->streams[amap[apkt->stream_index]];
            av_packet_rescale_ts(apkt, is->time_base, os->time_base);
            apkt->stream_index = os->index;
            apkt->pos = -1;
            const int r = av_interleaved_write_frame(fmt, apkt);
            av_packet_unref(apkt);
            if (r < 0) fail("cannot write: " + av_error_text(r));
        }
    }

    // Sound that follows the picture ends where the picture written so far does.
    void end_audio_at(double seconds) {
        if (!opt.audio_follow.active()) return;
        for (auto& t : aconvert)
            if (t) t->end_at(seconds);
    }

    void drain(bool flushing) {
        for (;;) {
            int r = avcodec_receive_packet(enc, pkt);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return;
            if (r < 0) fail("encoding failed: " + av_error_text(r));
            if (kind == OutputKind::PngSequence) {
                write_image();
                continue;
            }
            av_packet_rescale_ts(pkt, enc->time_base, vst->time_base);
            pkt->stream_index = vst->index;
            r = av_interleaved_write_frame(fmt, pkt);
            av_packet_unref(pkt);
            if (r < 0) fail("cannot write: " + av_error_text(r));
        }
        (void)flushing;
    }

    // One PNG per packet, written here because FFmpeg's image muxer does
    // not report failed writes.
    void write_image() {
        const std::string name = sequence_file_name(out->write_path(), first_image + images++);
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (fd < 0) fail("cannot write: " + io_error_text(errno));
        const uint8_t* p = pkt->data;
        size_t left = size_t(pkt->size);
        int err = 0;
        while (left > 0 && !err) {
            const ssize_t n = ::write(fd, p, left);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                err = n < 0 ? errno : EIO;
                break;
            }
            p += n;
            left -= size_t(n);
        }
        if (::close(fd) != 0 && !err) err = errno;
        av_packet_unref(pkt);
        if (err) fail("cannot write: " + io_error_text(err));
    }

    // RGB outputs hold nominal R'G'B': pictures with room below black and
    // above white (HostLevels) are brought back to it through these tables,
    // host value -> 16 and 8 bits.
    std::vector<uint16_t> nominal16;
    std::vector<uint8_t> nominal8;

    void make_nominal_tables(int depth) {
        const int n = depth == 16 ? 65536 : 256;
        const float scale = depth == 16 ? float(kHostMax16) : 255.0f;
        nominal16.resize(size_t(n));
        nominal8.resize(size_t(n));
        for (int v = 0; v < n; ++v) {
            const float r = std::clamp(opt.levels.to_nominal(float(v) / scale), 0.0f, 1.0f);
            nominal16[size_t(v)] = uint16_t(r * 65535.0f + 0.5f);
            nominal8[size_t(v)] = u8_from_unit(r);
        }
    }

    void fill_frame(const HostFrame& in) {
        check(av_frame_make_writable(frame), "out of memory");
        const int w = in.width, h = in.height;
        const bool deep = in.depth == 16;
        const bool remap = !nominal16.empty();
        auto c16 = [&](int y, int x, int c) -> uint16_t {  // component c (0 A, 1 R, 2 G, 3 B) as 16 bits
            if (remap && c > 0) return nominal16[deep ? in.row16(y)[4 * x + c] : in.row8(y)[4 * x + c]];
            return deep ? u16_from_host16(in.row16(y)[4 * x + c]) : uint16_t(in.row8(y)[4 * x + c] * 257);
        };
        auto c8 = [&](int y, int x, int c) -> uint8_t {
            if (remap && c > 0) return nominal8[deep ? in.row16(y)[4 * x + c] : in.row8(y)[4 * x + c]];
            return deep ? u8_from_host16(in.row16(y)[4 * x + c]) : in.row8(y)[4 * x + c];
        };
        switch (kind) {
        case OutputKind::Ffv1:
            if (!(av_pix_fmt_desc_get(enc->pix_fmt)->flags & AV_PIX_FMT_FLAG_RGB)) {
                yuv_into_frame(in);
            } else if (enc->pix_fmt == AV_PIX_FMT_0RGB32 || enc->pix_fmt == AV_PIX_FMT_BGRA) {
                // 0RGB32 and BGRA alike: A (or nothing), R, G, B from the top byte down.
                for (int y = 0; y < h; ++y) {
                    uint32_t* o = reinterpret_cast<uint32_t*>(frame->data[0] + size_t(y) * frame->linesize[0]);
                    for (int x = 0; x < w; ++x)
                        o[x] = (opt.alpha ? uint32_t(c8(y, x, 0)) << 24 : 0u) | (uint32_t(c8(y, x, 1)) << 16) |
                               (uint32_t(c8(y, x, 2)) << 8) | c8(y, x, 3);
                }
            } else {
                for (int y = 0; y < h; ++y) {
                    // gbrp planes: 0 G, 1 B, 2 R
                    auto* g = reinterpret_cast<uint16_t*>(frame->data[0] + size_t(y) * frame->linesize[0]);
                    auto* b = reinterpret_cast<uint16_t*>(frame->data[1] + size_t(y) * frame->linesize[1]);
                    auto* r = reinterpret_cast<uint16_t*>(frame->data[2] + size_t(y) * frame->linesize[2]);
                    for (int x = 0; x < w; ++x) {
                        r[x] = c16(y, x, 1);
                        g[x] = c16(y, x, 2);
                        b[x] = c16(y, x, 3);
                    }
                    if (opt.alpha) {
                        auto* a = reinterpret_cast<uint16_t*>(frame->data[3] + size_t(y) * frame->linesize[3]);
                        for (int x = 0; x < w; ++x) a[x] = c16(y, x, 0);
                    }
                }
            }
            break;
        case OutputKind::PngSequence: {
            const int n = opt.alpha ? 4 : 3;  // R, G, B (, A), 16 bits big-endian each
            for (int y = 0; y < h; ++y) {
                uint8_t* o = frame->data[0] + size_t(y) * frame->linesize[0];
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < n; ++c) {
                        const uint16_t v = c16(y, x, (c + 1) % 4);
                        o[2 * n * x + 2 * c] = uint8_t(v >> 8);
                        o[2 * n * x + 2 * c + 1] = uint8_t(v & 0xff);
                    }
            }
            break;
        }
        case OutputKind::ProRes:
        case OutputKind::H264: yuv_into_frame(in); break;
        }
    }

    // R'G'B' to Y'CbCr here rather than by the scaler, which misses the
    // levels at 10 bits (white becomes 943 instead of 940). Chroma is
    // co-sited with the even luma samples ([1 2 1] / 4 across) and, for
    // 4:2:0, centred between line pairs (their mean).
    void yuv_into_frame(const HostFrame& in) {
        const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(enc->pix_fmt);
        const int bits = d->comp[0].depth, sx = d->log2_chroma_w, sy = d->log2_chroma_h;
        const YuvCoefficients k =
            YuvCoefficients::make(color.matrix, color.range == AVCOL_RANGE_JPEG, bits, opt.levels);
        const int w = in.width, h = in.height;
        const int cw = AV_CEIL_RSHIFT(w, sx), ch = AV_CEIL_RSHIFT(h, sy);
        const int group = 1 << sy;
        const float unit = in.depth == 16 ? 1.0f / float(kHostMax16) : 1.0f / 255.0f;
        const int max_code = int(k.y_code_max);
        auto store = [&](int plane, int x, int y, float v) {
            const int q = std::clamp(int(v + 0.5f), 0, max_code);
            uint8_t* row = frame->data[plane] + size_t(y) * frame->linesize[plane];
            if (bits > 8) {
                row[2 * x] = uint8_t(q & 0xff);  // little-endian formats only
                row[2 * x + 1] = uint8_t(q >> 8);
            } else {
                row[x] = uint8_t(q);
            }
        };
        std::vector<float> cb(size_t(w) * group), cr(size_t(w) * group);
        for (int cy = 0; cy < ch; ++cy) {
            for (int r = 0; r < group; ++r) {
                const int y = std::min((cy << sy) + r, h - 1);
                for (int x = 0; x < w; ++x) {
                    float rgb[3];
                    for (int c = 0; c < 3; ++c) {
                        const float v =
                            in.depth == 16 ? float(in.row16(y)[4 * x + 1 + c]) : float(in.row8(y)[4 * x + 1 + c]);
                        rgb[c] = std::min(v * unit, 1.0f);
                    }
                    float luma;
                    k.from_rgb(rgb, luma, cb[size_t(r) * w + x], cr[size_t(r) * w + x]);
                    if ((cy << sy) + r < h) store(0, x, y, luma);
                }
            }
            for (int cx = 0; cx < cw; ++cx) {
                float u = 0, v = 0;
                for (int r = 0; r < group; ++r) {
                    const float* bu = cb.data() + size_t(r) * w;
                    const float* bv = cr.data() + size_t(r) * w;
                    if (sx == 0) {
                        u += bu[cx];
                        v += bv[cx];
                    } else {
                        const int x = cx << sx;
                        const int a = std::max(x - 1, 0), b = std::min(x + 1, w - 1);
                        u += (bu[a] + 2 * bu[x] + bu[b]) / 4;
                        v += (bv[a] + 2 * bv[x] + bv[b]) / 4;
                    }
                }
                store(1, cx, cy, u / float(group));
                store(2, cx, cy, v / float(group));
            }
        }
        if (frame->data[3] == nullptr) return;
        // Alpha at full range of the plane's depth.
        const int amax = (1 << d->comp[3].depth) - 1;
        for (int y = 0; y < h; ++y) {
            uint8_t* row = frame->data[3] + size_t(y) * frame->linesize[3];
            for (int x = 0; x < w; ++x) {
                const float a = in.depth == 16 ? float(in.row16(y)[4 * x]) * unit : float(in.row8(y)[4 * x]) * unit;
                const int q = std::clamp(int(std::min(a, 1.0f) * float(amax) + 0.5f), 0, amax);
                if (d->comp[3].depth > 8) {
                    row[2 * x] = uint8_t(q & 0xff);
                    row[2 * x + 1] = uint8_t(q >> 8);
                } else {
                    row[x] = uint8_t(q);
                }
            }
        }
    }

    void write(const HostFrame& in) {
        if (finished || failed) fail("the output is already closed");
        if (in.width != opt.width || in.height != opt.height)
            fail("frame size " + std::to_string(in.width) + "x" + std::to_string(in.height) + " differs from " +
                 std::to_string(opt.width) + "x" + std::to_string(opt.height));
        if ((in.depth != 8 && in.depth != 16) || in.rowbytes < size_t(in.width) * 4 * (in.depth / 8) ||
            in.bytes.size() < in.rowbytes * size_t(in.height))
            fail("malformed frame buffer");
        // An encoder working on frames in threads may still hold the last one.
        check(av_frame_make_writable(frame), "out of memory");
        if (!(take_pictures && in.picture && picture_into(*in.picture, *frame))) fill_frame(in);
        frame->pts = written;
        frame->interlaced_frame = 0;
        frame->color_range = enc->color_range;
        frame->colorspace = enc->colorspace;
        frame->color_primaries = enc->color_primaries;
        frame->color_trc = enc->color_trc;
        frame->sample_aspect_ratio = enc->sample_aspect_ratio;
        const int r = avcodec_send_frame(enc, frame);
        if (r < 0) fail("encoding failed: " + av_error_text(r));
        ++written;
        drain(false);
        end_audio_at(double(written) / opt.frame_rate.value());
        pump_audio(double(written) / opt.frame_rate.value() + 0.5);
    }

    void finish() {
        if (finished) return;
        if (failed) fail("the output is already closed");
        if (written == 0) {
            failed = true;
            out->discard();
            fail("no frames to write");
        }
        int r = avcodec_send_frame(enc, nullptr);
        if (r < 0) fail("encoding failed: " + av_error_text(r));
        drain(true);
        end_audio_at(double(written) / opt.frame_rate.value());
        pump_audio(std::numeric_limits<double>::infinity());
        for (auto& t : aconvert) {
            if (!t) continue;
            try {
                r = t->finish();
            } catch (const std::exception& e) {
                fail(std::string("cannot convert the audio: ") + e.what());
            }
            if (r < 0) fail("cannot write: " + av_error_text(r));
        }
        r = av_write_trailer(fmt);
        if (r < 0) fail("cannot finish writing: " + av_error_text(r));
        if (fmt->pb && !(fmt->oformat->flags & AVFMT_NOFILE)) {
            r = avio_closep(&fmt->pb);
            if (r < 0) fail("cannot finish writing: " + av_error_text(r));
        }
        try {
            out->commit();
        } catch (...) {
            failed = true;
            throw;
        }
        finished = true;
    }
};

VideoWriter::VideoWriter(const std::string& path, const WriterOptions& options) : impl_(std::make_unique<Impl>()) {
    impl_->open(path, options);
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::write(const HostFrame& frame) { impl_->write(frame); }
void VideoWriter::finish() { impl_->finish(); }
OutputKind VideoWriter::kind() const { return impl_->kind; }
int64_t VideoWriter::frames_written() const { return impl_->written; }
int VideoWriter::audio_streams_copied() const { return impl_->acopied; }
const std::string& VideoWriter::audio_notice() const { return impl_->anotice; }
const std::string& VideoWriter::alpha_notice() const { return impl_->alpha_notice; }

}  // namespace tessen::cli
