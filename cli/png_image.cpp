#include "cli/png_image.h"

#include "cli/cli_error.h"
#include "cli/output_file.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace tessen::cli {

namespace {
struct CodecCtxFree {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
}  // namespace

void write_png(const std::string& path, const RgbImage& image, bool overwrite) {
    OutputFile out(path, overwrite);
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (!codec) throw CliError(path, "this FFmpeg has no PNG encoder");
    std::unique_ptr<AVCodecContext, CodecCtxFree> ctx(avcodec_alloc_context3(codec));
    std::unique_ptr<AVFrame, FrameFree> frame(av_frame_alloc());
    std::unique_ptr<AVPacket, PacketFree> pkt(av_packet_alloc());
    if (!ctx || !frame || !pkt) throw CliError(path, "out of memory");
    ctx->width = image.width;
    ctx->height = image.height;
    ctx->pix_fmt = AV_PIX_FMT_RGB24;
    ctx->time_base = AVRational{1, 25};
    if (avcodec_open2(ctx.get(), codec, nullptr) < 0) throw CliError(path, "cannot start the PNG encoder");
    frame->format = AV_PIX_FMT_RGB24;
    frame->width = image.width;
    frame->height = image.height;
    if (av_frame_get_buffer(frame.get(), 0) < 0) throw CliError(path, "out of memory");
    for (int y = 0; y < image.height; ++y)
        std::memcpy(frame->data[0] + static_cast<size_t>(y) * frame->linesize[0], image.row(y),
                    static_cast<size_t>(image.width) * 3);
    if (avcodec_send_frame(ctx.get(), frame.get()) < 0 || avcodec_send_frame(ctx.get(), nullptr) < 0)
        throw CliError(path, "PNG encoding failed");

    std::FILE* f = std::fopen(out.write_path().c_str(), "wb");
    if (!f) throw CliError(path, io_error_text(errno));
    bool ok = true;
    int err = 0;
    while (avcodec_receive_packet(ctx.get(), pkt.get()) == 0) {
        if (std::fwrite(pkt->data, 1, static_cast<size_t>(pkt->size), f) != static_cast<size_t>(pkt->size)) {
            ok = false;
            err = errno;
        }
        av_packet_unref(pkt.get());
    }
    if (std::fclose(f) != 0 && ok) {
        ok = false;
        err = errno;
    }
    if (!ok) throw CliError(path, io_error_text(err));
    out.commit();
}

}  // namespace tessen::cli
