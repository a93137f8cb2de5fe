#include "cli/pixel_convert.h"

#include <cstring>

namespace tessen::cli {

void HostFrame::allocate(int w, int h, int bit_depth) {
    width = w;
    height = h;
    depth = bit_depth;
    rowbytes = size_t(w) * 4 * (bit_depth == 16 ? 2 : 1);
    bytes.resize(rowbytes * size_t(h));
}

void convert_depth(const HostFrame& in, HostFrame& out, int depth) {
    if (&in == &out) {
        if (in.depth == depth) return;
        const HostFrame copy = in;
        convert_depth(copy, out, depth);
        return;
    }
    out.allocate(in.width, in.height, depth);
    const size_t n = size_t(in.width) * 4;
    for (int y = 0; y < in.height; ++y) {
        if (in.depth == depth) {
            std::memcpy(out.row8(y), in.row8(y), out.rowbytes);
        } else if (depth == 16) {
            const uint8_t* s = in.row8(y);
            uint16_t* d = out.row16(y);
            for (size_t i = 0; i < n; ++i) d[i] = host16_from_8(s[i]);
        } else {
            const uint16_t* s = in.row16(y);
            uint8_t* d = out.row8(y);
            for (size_t i = 0; i < n; ++i) d[i] = u8_from_host16(s[i]);
        }
    }
}

}  // namespace tessen::cli
