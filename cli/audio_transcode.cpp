#include "cli/audio_transcode.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <stdexcept>

namespace tessen::cli {

namespace {

bool one_of(AVCodecID id, std::initializer_list<AVCodecID> ids) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

bool lossless(AVCodecID id) {
    const AVCodecDescriptor* d = avcodec_descriptor_get(id);
    return d && (d->props & AV_CODEC_PROP_LOSSLESS) && !(d->props & AV_CODEC_PROP_LOSSY);
}

std::string error_text(int err) {
    char buf[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(err, buf, sizeof buf);
    return buf;
}

void check(int r, const char* what) {
    if (r < 0) throw std::runtime_error(std::string(what) + ": " + error_text(r));
}

}  // namespace

AudioPlan plan_audio(const AVOutputFormat* muxer, const AVCodecParameters* source) {
    const AVCodecID id = source->codec_id;
    if (id == AV_CODEC_ID_NONE || !avcodec_find_decoder(id)) return AudioPlan::Drop;
    const std::string name = muxer->name;
    if (name == "mov") {
        // What QuickTime players take: AAC, MP3, Apple Lossless, AC-3 and
        // plain PCM.
        if (one_of(id, {AV_CODEC_ID_AAC, AV_CODEC_ID_MP3, AV_CODEC_ID_ALAC, AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3,
                        AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S16BE, AV_CODEC_ID_PCM_S24LE, AV_CODEC_ID_PCM_S24BE,
                        AV_CODEC_ID_PCM_S32LE, AV_CODEC_ID_PCM_S32BE, AV_CODEC_ID_PCM_F32LE, AV_CODEC_ID_PCM_F32BE}))
            return AudioPlan::Copy;
        return lossless(id) ? AudioPlan::ToPcm : AudioPlan::ToAac;
    }
    if (name == "mp4") {
        // MP4 holds no PCM, and FLAC and Opus there are not read everywhere.
        if (one_of(id, {AV_CODEC_ID_AAC, AV_CODEC_ID_MP3, AV_CODEC_ID_ALAC, AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3}))
            return AudioPlan::Copy;
        return AudioPlan::ToAac;
    }
    if (avformat_query_codec(muxer, id, FF_COMPLIANCE_NORMAL) == 1) return AudioPlan::Copy;
    if (name == "matroska") return lossless(id) ? AudioPlan::ToPcm : AudioPlan::ToAac;
    return AudioPlan::Drop;
}

AudioPlan plan_audio_converted(const AVOutputFormat* muxer, const AVCodecParameters* source) {
    const AudioPlan plan = plan_audio(muxer, source);
    if (plan != AudioPlan::Copy) return plan;
    return lossless(source->codec_id) && std::string(muxer->name) != "mp4" ? AudioPlan::ToPcm : AudioPlan::ToAac;
}

const char* audio_plan_name(AudioPlan plan) {
    switch (plan) {
    case AudioPlan::ToAac: return "AAC";
    case AudioPlan::ToPcm: return "PCM";
    default: return "";
    }
}

struct AudioTranscoder::Impl {
    AVFormatContext* out = nullptr;
    AVStream* stream = nullptr;
    AVCodecContext* dec = nullptr;
    AVCodecContext* enc = nullptr;
    SwrContext* swr = nullptr;
    AVAudioFifo* fifo = nullptr;
    AVFrame* decoded = nullptr;
    AVFrame* chunk = nullptr;
    AVPacket* packet = nullptr;
    AVPacket* encoded = nullptr;
    int64_t next_pts = AV_NOPTS_VALUE;  // encoder time base (samples)
    // Following the picture: positions in output samples, counted on the
    // source's time line (stretched) from its first picture.
    AudioFollow follow;
    int64_t pos = AV_NOPTS_VALUE;  // of the next converted sample
    int64_t first = 0;             // samples before this are cut off (follow.start)
    int64_t end = INT64_MAX;       // samples from here on are held back (end_at)
    AVFilterGraph* graph = nullptr;  // pitch-kept slowing (atempo)
    AVFilterContext *filter_in = nullptr, *filter_out = nullptr;
    AVFrame* tempo = nullptr;

    ~Impl() {
        avfilter_graph_free(&graph);
        av_frame_free(&tempo);
        avcodec_free_context(&dec);
        avcodec_free_context(&enc);
        swr_free(&swr);
        if (fifo) av_audio_fifo_free(fifo);
        av_frame_free(&decoded);
        av_frame_free(&chunk);
        av_packet_free(&packet);
        av_packet_free(&encoded);
    }

    // Resampled samples into the queue the encoder takes its frames from.
    // Following the picture, the stretch is part of the resampling (pitch
    // shifted) unless the tempo filter did it before, and samples before
    // the start are cut off here.
    void queue(const AVFrame* f) {
        if (!swr && f) {
            int in_rate = f->sample_rate, out_rate = enc->sample_rate;
            if (follow.stretch != 1 && !graph) {
                const AVRational q = av_d2q(follow.stretch, 100000);  // 25 / 23.976 = 1001 / 960
                const int64_t a = int64_t(in_rate) * q.den, b = int64_t(out_rate) * q.num;
                const int64_t g = std::gcd(a, b);
                in_rate = int(a / g);
                out_rate = int(b / g);
            }
            check(swr_alloc_set_opts2(&swr, &enc->ch_layout, enc->sample_fmt, out_rate,
                                      const_cast<AVChannelLayout*>(&f->ch_layout), AVSampleFormat(f->format), in_rate,
                                      0, nullptr),
                  "cannot convert the audio");
            check(swr_init(swr), "cannot convert the audio");
        }
        const int room = swr_get_out_samples(swr, f ? f->nb_samples : 0);
        if (room <= 0) return;
        uint8_t** data = nullptr;
        check(av_samples_alloc_array_and_samples(&data, nullptr, enc->ch_layout.nb_channels, room, enc->sample_fmt, 0),
              "out of memory");
        const int n = swr_convert(swr, data, room, f ? const_cast<const uint8_t**>(f->extended_data) : nullptr,
                                  f ? f->nb_samples : 0);
        int r = n;
        if (n > 0) {
            const int64_t cut = std::clamp<int64_t>(first - pos, 0, n);  // before the start
            if (next_pts == AV_NOPTS_VALUE && cut < n) {
                next_pts = pos + cut - (follow.active() ? first : 0);
                // Sound that follows the picture starts with it: a late
                // start is filled with silence rather than left to the
                // container's start time, which not every reader honours.
                if (follow.active() && next_pts > 0) fill_silence(next_pts);
            }
            if (cut < n) {
                void* from[AV_NUM_DATA_POINTERS] = {};
                const bool planar = av_sample_fmt_is_planar(enc->sample_fmt);
                const int step = av_get_bytes_per_sample(enc->sample_fmt) * (planar ? 1 : enc->ch_layout.nb_channels);
                for (int c = 0; c < (planar ? enc->ch_layout.nb_channels : 1); ++c) from[c] = data[c] + cut * step;
                r = av_audio_fifo_write(fifo, from, int(n - cut));
            }
            pos += n;
        }
        av_freep(&data[0]);
        av_freep(&data);
        check(r, "cannot convert the audio");
    }

    void fill_silence(int64_t samples) {
        uint8_t** data = nullptr;
        check(av_samples_alloc_array_and_samples(&data, nullptr, enc->ch_layout.nb_channels, int(samples),
                                                 enc->sample_fmt, 0),
              "out of memory");
        av_samples_set_silence(data, 0, int(samples), enc->ch_layout.nb_channels, enc->sample_fmt);
        const int r = av_audio_fifo_write(fifo, reinterpret_cast<void**>(data), int(samples));
        av_freep(&data[0]);
        av_freep(&data);
        check(r, "out of memory");
        next_pts = 0;
    }

    // A decoded frame: its place on the time line, then through the tempo
    // filter when there is one.
    void take(AVFrame* f) {
        if (pos == AV_NOPTS_VALUE) {
            const int64_t t = f->best_effort_timestamp != AV_NOPTS_VALUE ? f->best_effort_timestamp : f->pts;
            const double seconds = t == AV_NOPTS_VALUE ? 0.0 : double(t) * av_q2d(dec->pkt_timebase);
            pos = std::llround(seconds * follow.stretch * enc->sample_rate);
            if (follow.keep_pitch && follow.stretch != 1) make_tempo_filter(f);
        }
        if (!graph) {
            queue(f);
            return;
        }
        check(av_buffersrc_add_frame(filter_in, f), "cannot slow the audio");
        drain_tempo();
    }

    void drain_tempo() {
        for (;;) {
            const int r = av_buffersink_get_frame(filter_out, tempo);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return;
            check(r, "cannot slow the audio");
            queue(tempo);
            av_frame_unref(tempo);
        }
    }

    // abuffer -> atempo -> abuffersink: slower by the stretch, pitch kept.
    // The filter swallows the first few milliseconds it is given, so the
    // sound would come out early by as much; a run of silence through an
    // identical filter measures that, and the sound is placed that much later.
    void make_tempo_filter(const AVFrame* f) {
        tempo = av_frame_alloc();
        if (!tempo) throw std::runtime_error("out of memory");
        const int probe = f->sample_rate;  // one second of silence
        {
            AVFilterGraph* g = nullptr;
            AVFilterContext *in = nullptr, *out = nullptr;
            build_tempo(f, g, in, out);
            int64_t came_out = 0;
            AVFrame* silence = av_frame_alloc();
            int r = silence ? 0 : AVERROR(ENOMEM);
            for (int done = 0; r >= 0 && done < probe; done += 1024) {
                av_frame_unref(silence);
                silence->nb_samples = std::min(1024, probe - done);
                silence->format = f->format;
                silence->sample_rate = f->sample_rate;
                silence->pts = done;
                r = av_channel_layout_copy(&silence->ch_layout, &in->outputs[0]->ch_layout);
                if (r >= 0) r = av_frame_get_buffer(silence, 0);
                if (r >= 0)
                    r = av_samples_set_silence(silence->extended_data, 0, silence->nb_samples,
                                               silence->ch_layout.nb_channels, AVSampleFormat(f->format));
                if (r >= 0) r = av_buffersrc_add_frame(in, silence);
                while (r >= 0 && av_buffersink_get_frame(out, tempo) >= 0) {
                    came_out += tempo->nb_samples;
                    av_frame_unref(tempo);
                }
            }
            if (r >= 0) r = av_buffersrc_add_frame(in, nullptr);
            while (r >= 0 && av_buffersink_get_frame(out, tempo) >= 0) {
                came_out += tempo->nb_samples;
                av_frame_unref(tempo);
            }
            av_frame_free(&silence);
            avfilter_graph_free(&g);
            check(r, "cannot slow the audio");
            const int64_t lost = std::llround(probe * follow.stretch) - came_out;  // at the source's rate
            pos += av_rescale(std::max<int64_t>(lost, 0), enc->sample_rate, f->sample_rate);
        }
        build_tempo(f, graph, filter_in, filter_out);
    }

    void build_tempo(const AVFrame* f, AVFilterGraph*& g, AVFilterContext*& in, AVFilterContext*& out) {
        g = avfilter_graph_alloc();
        if (!g) throw std::runtime_error("out of memory");
        // The filters need a named layout; PCM often comes without one.
        AVChannelLayout named{};
        if (f->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
            av_channel_layout_default(&named, f->ch_layout.nb_channels);
        else
            check(av_channel_layout_copy(&named, &f->ch_layout), "out of memory");
        char layout[128] = {};
        av_channel_layout_describe(&named, layout, sizeof layout);
        av_channel_layout_uninit(&named);
        const std::string in_args = "time_base=1/" + std::to_string(f->sample_rate) +
                                    ":sample_rate=" + std::to_string(f->sample_rate) + ":sample_fmt=" +
                                    av_get_sample_fmt_name(AVSampleFormat(f->format)) + ":channel_layout=" + layout;
        AVFilterContext* atempo = nullptr;
        const std::string tempo_args = "tempo=" + std::to_string(1.0 / follow.stretch);
        int r = avfilter_graph_create_filter(&in, avfilter_get_by_name("abuffer"), "in", in_args.c_str(), nullptr, g);
        if (r >= 0)
            r = avfilter_graph_create_filter(&out, avfilter_get_by_name("abuffersink"), "out", nullptr, nullptr, g);
        if (r >= 0)
            r = avfilter_graph_create_filter(&atempo, avfilter_get_by_name("atempo"), "tempo", tempo_args.c_str(),
                                             nullptr, g);
        if (r >= 0) r = avfilter_link(in, 0, atempo, 0);
        if (r >= 0) r = avfilter_link(atempo, 0, out, 0);
        if (r >= 0) r = avfilter_graph_config(g, nullptr);
        if (r < 0) avfilter_graph_free(&g);
        check(r, "cannot slow the audio");
    }

    int write_packets() {
        for (;;) {
            int r = avcodec_receive_packet(enc, encoded);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return 0;
            if (r < 0) return r;
            av_packet_rescale_ts(encoded, enc->time_base, stream->time_base);
            encoded->stream_index = stream->index;
            r = av_interleaved_write_frame(out, encoded);
            av_packet_unref(encoded);
            if (r < 0) return r;
        }
    }

    // Samples in the queue before the end (end_at).
    int ready() const {
        const int held = av_audio_fifo_size(fifo);
        if (end == INT64_MAX || next_pts == AV_NOPTS_VALUE) return held;
        return int(std::clamp<int64_t>(end - first - next_pts, 0, held));
    }

    // Whole encoder frames from the queue; at the end the rest as well.
    int encode(bool all) {
        const int size = enc->frame_size > 0 ? enc->frame_size : 1024;
        while (ready() >= size || (all && ready() > 0)) {
            const int n = std::min(size, ready());
            av_frame_unref(chunk);
            chunk->nb_samples = n;
            chunk->format = enc->sample_fmt;
            chunk->sample_rate = enc->sample_rate;
            check(av_channel_layout_copy(&chunk->ch_layout, &enc->ch_layout), "out of memory");
            check(av_frame_get_buffer(chunk, 0), "out of memory");
            if (av_audio_fifo_read(fifo, reinterpret_cast<void**>(chunk->data), n) < n)
                throw std::runtime_error("cannot convert the audio");
            chunk->pts = next_pts;
            next_pts += n;
            int r = avcodec_send_frame(enc, chunk);
            if (r < 0) return r;
            r = write_packets();
            if (r < 0) return r;
        }
        return 0;
    }

    int decode() {
        for (;;) {
            const int r = avcodec_receive_frame(dec, decoded);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return 0;
            if (r < 0) return 0;  // a damaged packet: its sound is skipped
            take(decoded);
            av_frame_unref(decoded);
            const int e = encode(false);
            if (e < 0) return e;
        }
    }
};

AudioTranscoder::AudioTranscoder(const AVStream* source, AVFormatContext* out, AudioPlan plan,
                                 const AudioFollow& follow)
    : impl_(std::make_unique<Impl>()) {
    Impl& m = *impl_;
    m.out = out;
    m.follow = follow;
    const AVCodecParameters* par = source->codecpar;
    const AVCodec* decoder = avcodec_find_decoder(par->codec_id);
    if (!decoder) throw std::runtime_error("no decoder for it");
    m.dec = avcodec_alloc_context3(decoder);
    if (!m.dec) throw std::runtime_error("out of memory");
    check(avcodec_parameters_to_context(m.dec, par), "cannot read it");
    m.dec->pkt_timebase = source->time_base;
    check(avcodec_open2(m.dec, decoder, nullptr), "cannot decode it");

    const bool deep = par->bits_per_raw_sample > 16 || par->bits_per_coded_sample > 16 ||
                      m.dec->sample_fmt == AV_SAMPLE_FMT_S32 || m.dec->sample_fmt == AV_SAMPLE_FMT_S32P ||
                      m.dec->sample_fmt == AV_SAMPLE_FMT_FLT || m.dec->sample_fmt == AV_SAMPLE_FMT_FLTP ||
                      m.dec->sample_fmt == AV_SAMPLE_FMT_DBL || m.dec->sample_fmt == AV_SAMPLE_FMT_DBLP;
    const AVCodec* encoder = avcodec_find_encoder(plan == AudioPlan::ToAac ? AV_CODEC_ID_AAC
                                                  : deep                  ? AV_CODEC_ID_PCM_S24LE
                                                                          : AV_CODEC_ID_PCM_S16LE);
    if (!encoder) throw std::runtime_error("this FFmpeg has no encoder for it");
    m.enc = avcodec_alloc_context3(encoder);
    if (!m.enc) throw std::runtime_error("out of memory");
    int rate = m.dec->sample_rate > 0 ? m.dec->sample_rate : 48000;
    if (encoder->supported_samplerates) {
        bool supported = false;
        for (const int* r = encoder->supported_samplerates; *r; ++r) supported |= *r == rate;
        if (!supported) rate = 48000;
    }
    m.enc->sample_rate = rate;
    m.enc->sample_fmt = encoder->sample_fmts ? encoder->sample_fmts[0] : m.dec->sample_fmt;
    if (m.dec->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC || m.dec->ch_layout.nb_channels <= 0)
        av_channel_layout_default(&m.enc->ch_layout, m.dec->ch_layout.nb_channels > 0 ? m.dec->ch_layout.nb_channels : 2);
    else
        check(av_channel_layout_copy(&m.enc->ch_layout, &m.dec->ch_layout), "out of memory");
    if (plan == AudioPlan::ToAac) m.enc->bit_rate = std::min<int64_t>(96000LL * m.enc->ch_layout.nb_channels, 512000);
    m.enc->time_base = AVRational{1, rate};
    if (out->oformat->flags & AVFMT_GLOBALHEADER) m.enc->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(m.enc, encoder, nullptr), "cannot encode it");

    m.stream = avformat_new_stream(out, nullptr);
    if (!m.stream) throw std::runtime_error("out of memory");
    check(avcodec_parameters_from_context(m.stream->codecpar, m.enc), "cannot set it up");
    m.stream->time_base = m.enc->time_base;
    m.stream->disposition = source->disposition;
    av_dict_copy(&m.stream->metadata, source->metadata, 0);

    m.fifo = av_audio_fifo_alloc(m.enc->sample_fmt, m.enc->ch_layout.nb_channels, 4096);
    m.decoded = av_frame_alloc();
    m.chunk = av_frame_alloc();
    m.packet = av_packet_alloc();
    m.encoded = av_packet_alloc();
    if (!m.fifo || !m.decoded || !m.chunk || !m.packet || !m.encoded) throw std::runtime_error("out of memory");
    m.first = follow.active() ? std::llround(follow.start * rate) : INT64_MIN / 2;
}

void AudioTranscoder::end_at(double seconds) {
    Impl& m = *impl_;
    m.end = m.first + std::llround(seconds * m.enc->sample_rate);
}

AudioTranscoder::~AudioTranscoder() = default;

int AudioTranscoder::output_index() const { return impl_->stream->index; }

int AudioTranscoder::send(const AVPacket* source_packet) {
    Impl& m = *impl_;
    int r = av_packet_ref(m.packet, source_packet);
    if (r < 0) return r;
    r = avcodec_send_packet(m.dec, m.packet);
    av_packet_unref(m.packet);
    if (r < 0 && r != AVERROR(EAGAIN)) return 0;  // a damaged packet: its sound is skipped
    return m.decode();
}

int AudioTranscoder::finish() {
    Impl& m = *impl_;
    avcodec_send_packet(m.dec, nullptr);
    int r = m.decode();
    if (r < 0) return r;
    if (m.graph) {
        check(av_buffersrc_add_frame(m.filter_in, nullptr), "cannot slow the audio");
        m.drain_tempo();
    }
    if (m.swr) m.queue(nullptr);
    r = m.encode(true);
    if (r < 0) return r;
    r = avcodec_send_frame(m.enc, nullptr);
    if (r < 0 && r != AVERROR_EOF) return r;
    return m.write_packets();
}

}  // namespace tessen::cli
