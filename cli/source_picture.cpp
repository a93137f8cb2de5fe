#include "cli/source_picture.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <vector>

namespace tessen::cli {

namespace {

// Planar Y'CbCr, one component per plane, chroma halved at most; no alpha.
const AVPixFmtDescriptor* planar_yuv(int format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(format));
    if (!d || d->nb_components != 3 || (d->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL |
                                                    AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BITSTREAM)))
        return nullptr;
    if (!(d->flags & AV_PIX_FMT_FLAG_PLANAR) || d->log2_chroma_h > 1 || d->comp[0].depth > 16) return nullptr;
    for (int c = 0; c < 3; ++c)
        if (d->comp[c].plane != c || d->comp[c].shift != 0 || d->comp[c].offset != 0) return nullptr;
    return d;
}

void free_frame(const AVFrame* f) {
    AVFrame* p = const_cast<AVFrame*>(f);
    av_frame_free(&p);
}

}  // namespace

SourcePicture share_picture(const AVFrame* frame) {
    if (!frame || !planar_yuv(frame->format) || frame->height % 2 != 0) return nullptr;
    AVFrame* f = av_frame_clone(frame);
    return f ? SourcePicture(f, free_frame) : nullptr;
}

SourcePicture weave_pictures(const SourcePicture& upper, const SourcePicture& lower) {
    if (!upper || !lower) return nullptr;
    if (upper == lower) return upper;
    if (upper->format != lower->format || upper->width != lower->width || upper->height != lower->height)
        return nullptr;
    const AVPixFmtDescriptor* d = planar_yuv(upper->format);
    if (!d) return nullptr;
    AVFrame* f = av_frame_alloc();
    if (!f) return nullptr;
    SourcePicture out(f, free_frame);
    f->format = upper->format;
    f->width = upper->width;
    f->height = upper->height;
    if (av_frame_get_buffer(f, 0) < 0 || av_frame_copy_props(f, upper.get()) < 0) return nullptr;
    const int bytes = (d->comp[0].depth + 7) / 8;
    for (int p = 0; p < 3; ++p) {
        const int w = p ? AV_CEIL_RSHIFT(f->width, d->log2_chroma_w) : f->width;
        const int h = p ? AV_CEIL_RSHIFT(f->height, d->log2_chroma_h) : f->height;
        for (int y = 0; y < h; ++y) {
            const AVFrame& from = y % 2 == 0 ? *upper : *lower;
            std::memcpy(f->data[p] + size_t(y) * size_t(f->linesize[p]),
                        from.data[p] + size_t(y) * size_t(from.linesize[p]), size_t(w) * size_t(bytes));
        }
    }
    return out;
}

bool picture_into(const AVFrame& picture, AVFrame& out) {
    const AVPixFmtDescriptor* s = planar_yuv(picture.format);
    const AVPixFmtDescriptor* d = planar_yuv(out.format);
    if (!s || !d || s->log2_chroma_w != d->log2_chroma_w || picture.width != out.width ||
        picture.height != out.height || s->comp[0].depth > d->comp[0].depth)
        return false;
    const int up = d->comp[0].depth - s->comp[0].depth;  // codes scale exactly: 8-bit 235 is 10-bit 940
    const int w = picture.width, h = picture.height;
    const int sy = s->log2_chroma_h, dy = d->log2_chroma_h;
    const uint8_t* src[4] = {picture.data[0], picture.data[1], picture.data[2], picture.data[3]};
    std::vector<uint16_t> a(static_cast<size_t>(w)), b(static_cast<size_t>(w));
    for (int p = 0; p < 3; ++p) {
        const int pw = p ? AV_CEIL_RSHIFT(w, d->log2_chroma_w) : w;
        const int ph = p ? AV_CEIL_RSHIFT(h, dy) : h;
        for (int y = 0; y < ph; ++y) {
            // Chroma lines of 4:2:0 lie between line pairs: widened to 4:2:2
            // a line takes three quarters of the nearer and one of the other;
            // narrowed from 4:2:2, a pair's mean.
            int r0 = y, r1 = y, q0 = 1, q1 = 0, div = 1;
            if (p && sy > dy) {
                r0 = y / 2;
                r1 = std::clamp(y % 2 ? r0 + 1 : r0 - 1, 0, AV_CEIL_RSHIFT(h, sy) - 1);
                q0 = 3, q1 = 1, div = 4;
            } else if (p && sy < dy) {
                r0 = 2 * y;
                r1 = std::min(2 * y + 1, h - 1);
                q0 = 1, q1 = 1, div = 2;
            }
            av_read_image_line2(a.data(), src, picture.linesize, s, 0, r0, p, pw, 0, 2);
            if (q1) av_read_image_line2(b.data(), src, picture.linesize, s, 0, r1, p, pw, 0, 2);
            for (int x = 0; x < pw; ++x) {
                const int v = ((q0 * a[size_t(x)] + (q1 ? q1 * b[size_t(x)] : 0)) << up) + div / 2;
                a[size_t(x)] = uint16_t(v / div);
            }
            // Written directly: the library's line writer adds to what is there.
            uint8_t* row = out.data[p] + size_t(y) * size_t(out.linesize[p]);
            for (int x = 0; x < pw; ++x) {
                if (d->comp[0].depth > 8) {
                    row[2 * x] = uint8_t(a[size_t(x)] & 0xff);
                    row[2 * x + 1] = uint8_t(a[size_t(x)] >> 8);
                } else {
                    row[x] = uint8_t(a[size_t(x)]);
                }
            }
        }
    }
    return true;
}

}  // namespace tessen::cli
