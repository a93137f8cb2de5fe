#include "image/median_filter.h"

#include <emmintrin.h>
#include <immintrin.h>

#include <cstddef>
#include <cstring>
#include <utility>

#include "image/cpu_features.h"
#include "image/float_world.h"
#include "image/simd_target.h"

namespace {

// The optimal nine-element median network: 19 compare-exchanges, the median
// ends in position 4.
constexpr unsigned char kMedian9[][2] = {
    {1, 2}, {4, 5}, {7, 8}, {0, 1}, {3, 4}, {6, 7}, {1, 2}, {4, 5}, {7, 8}, {0, 3},
    {5, 8}, {4, 7}, {3, 6}, {1, 4}, {2, 5}, {4, 7}, {4, 2}, {6, 4}, {4, 2},
};

// Batcher's odd-even merge sort of 32 inputs restricted to 25 and pruned to
// the comparators that decide position 12: 113 compare-exchanges.
constexpr unsigned char kMedian25[][2] = {
    {0, 1}, {2, 3}, {0, 2}, {1, 3}, {1, 2}, {4, 5}, {6, 7}, {4, 6}, {5, 7}, {5, 6}, {0, 4}, {2, 6},
    {2, 4}, {1, 5}, {3, 7}, {3, 5}, {1, 2}, {3, 4}, {5, 6}, {8, 9}, {10, 11}, {8, 10}, {9, 11}, {9, 10},
    {12, 13}, {14, 15}, {12, 14}, {13, 15}, {13, 14}, {8, 12}, {10, 14}, {10, 12}, {9, 13}, {11, 15}, {11, 13}, {9, 10},
    {11, 12}, {13, 14}, {0, 8}, {4, 12}, {4, 8}, {2, 10}, {6, 14}, {6, 10}, {2, 4}, {6, 8}, {10, 12}, {1, 9},
    {5, 13}, {5, 9}, {3, 11}, {7, 15}, {7, 11}, {3, 5}, {7, 9}, {11, 13}, {1, 2}, {3, 4}, {5, 6}, {7, 8},
    {9, 10}, {11, 12}, {13, 14}, {16, 17}, {18, 19}, {16, 18}, {17, 19}, {17, 18}, {20, 21}, {22, 23}, {20, 22}, {21, 23},
    {21, 22}, {16, 20}, {18, 22}, {18, 20}, {17, 21}, {19, 23}, {19, 21}, {17, 18}, {19, 20}, {21, 22}, {16, 24}, {20, 24},
    {18, 20}, {22, 24}, {19, 21}, {17, 18}, {19, 20}, {21, 22}, {23, 24}, {0, 16}, {8, 24}, {8, 16}, {4, 20}, {12, 20},
    {12, 16}, {2, 18}, {10, 18}, {6, 22}, {6, 10}, {10, 12}, {1, 17}, {9, 17}, {5, 21}, {13, 21}, {13, 17}, {3, 19},
    {11, 19}, {7, 23}, {7, 11}, {11, 13}, {11, 12},
};

// The 49-value median network, built at compile time: Batcher's odd-even
// merge sort of 64 inputs; the comparators that touch inputs 49 .. 63 are
// dropped (those inputs would hold +infinity, which no comparator moves), and
// of the rest only those are kept that decide position 24, walking back from
// the last comparator.
struct Network49 {
    unsigned char pairs[600][2] = {};
    int size = 0;
};

constexpr Network49 BuildMedian49()
{
    Network49 all;
    constexpr int n = 64;
    for (int p = 1; p < n; p *= 2)
        for (int k = p; k >= 1; k /= 2)
            for (int j = k % p; j + k < n; j += 2 * k)
                for (int i = 0; i < k && i + j + k < n; ++i)
                    if ((i + j) / (2 * p) == (i + j + k) / (2 * p) && i + j + k < 49) {
                        all.pairs[all.size][0] = static_cast<unsigned char>(i + j);
                        all.pairs[all.size][1] = static_cast<unsigned char>(i + j + k);
                        ++all.size;
                    }
    bool needed[49] = {};
    needed[24] = true;
    bool keep[600] = {};
    int kept = 0;
    for (int c = all.size - 1; c >= 0; --c) {
        const int a = all.pairs[c][0], b = all.pairs[c][1];
        if (needed[a] || needed[b]) {
            keep[c] = true;
            needed[a] = needed[b] = true;
            ++kept;
        }
    }
    Network49 pruned;
    for (int c = 0; c < all.size; ++c)
        if (keep[c]) {
            pruned.pairs[pruned.size][0] = all.pairs[c][0];
            pruned.pairs[pruned.size][1] = all.pairs[c][1];
            ++pruned.size;
        }
    return pruned;
}

constexpr Network49 kNetwork49 = BuildMedian49();

// The networks run on whole pixels: one compare-exchange orders red, green
// and blue (and the unused alpha lane) at once, for one to four output
// pixels side by side. Equal values keep both copies, so each lane sees
// exactly the multiset it started with. The interior is walked row by row
// and each window loaded straight from the source rows, which stay in cache
// from one pixel to the next (only src is read, so the order of the walk
// cannot change the result).

namespace lanes128 {
using V = __m128;
constexpr A_long L = 1;
inline V Load(const float* p) { return _mm_load_ps(p); }
inline V Min(V a, V b) { return _mm_min_ps(a, b); }
inline V Max(V a, V b) { return _mm_max_ps(a, b); }
inline void Store(float* p, V v) { _mm_store_ps(p, v); }
inline V AlphaOne(V v) { return _mm_move_ss(v, _mm_set_ss(1.0f)); }
#include "image/median_interior_body.inc"
}  // namespace lanes128

TESSEN_TARGET_AVX2_BEGIN
namespace lanes256 {
using V = __m256;
constexpr A_long L = 2;
inline V Load(const float* p) { return _mm256_loadu_ps(p); }
inline V Min(V a, V b) { return _mm256_min_ps(a, b); }
inline V Max(V a, V b) { return _mm256_max_ps(a, b); }
inline void Store(float* p, V v) { _mm256_storeu_ps(p, v); }
inline V AlphaOne(V v) { return _mm256_blend_ps(v, _mm256_set1_ps(1.0f), 0x11); }
#include "image/median_interior_body.inc"
}  // namespace lanes256
TESSEN_TARGET_END

TESSEN_TARGET_AVX512F_BEGIN
// The compiler's own 512-bit header starts some results from a deliberately
// undefined register, which its flow analysis then flags.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
namespace lanes512 {
using V = __m512;
constexpr A_long L = 4;
inline V Load(const float* p) { return _mm512_loadu_ps(p); }
inline V Min(V a, V b) { return _mm512_min_ps(a, b); }
inline V Max(V a, V b) { return _mm512_max_ps(a, b); }
inline void Store(float* p, V v) { _mm512_storeu_ps(p, v); }
inline V AlphaOne(V v) { return _mm512_mask_mov_ps(v, 0x1111, _mm512_set1_ps(1.0f)); }
#include "image/median_interior_body.inc"
}  // namespace lanes512
#pragma GCC diagnostic pop
TESSEN_TARGET_END

// The interior with the widest vectors this processor runs, the columns
// left over at the right in single pixels.
template <int R>
void median_interior(const CVFloatWorld& src, CVFloatWorld& dst)
{
    const A_long w = src.width();
    const A_long h = src.height();
    if (w <= 2 * R || h <= 2 * R) {
        return;  // no interior
    }
    const A_long count = w - 2 * R;
    A_long done = R;
    switch (cpu_features::widest_vectors()) {
    case cpu_features::VectorWidth::k512:
        done = R + count / 4 * 4;
        lanes512::Interior<R>(src, dst, R, done);
        break;
    case cpu_features::VectorWidth::k256:
        done = R + count / 2 * 2;
        lanes256::Interior<R>(src, dst, R, done);
        break;
    default:
        break;
    }
    lanes128::Interior<R>(src, dst, done, w - R);
}

void copy_borders(const CVFloatWorld& src, CVFloatWorld& dst, A_long R)
{
    const A_long w = src.width();
    const A_long h = src.height();
    // The ranges are cut to the image, so images narrower or shorter than
    // the border still stay inside their blocks.
    const A_long top_end = R < h ? R : h;
    const A_long bottom_start = h - R > 0 ? h - R : 0;
    for (A_long y = 0; y < top_end; ++y) {
        std::memcpy(dst.data_row_ptr(y), src.data_row_ptr(y), src.rowbytes());
    }
    for (A_long y = bottom_start; y < h; ++y) {
        std::memcpy(dst.data_row_ptr(y), src.data_row_ptr(y), src.rowbytes());
    }
    const A_long left_end = R < w ? R : w;
    const A_long right_start = w - R > 0 ? w - R : 0;
    for (A_long y = 0; y < h; ++y) {
        const CVFloatWorld::tPixel* s = src.pixel_row_ptr(y);
        CVFloatWorld::tPixel* d = dst.pixel_row_ptr(y);
        for (A_long x = 0; x < left_end; ++x) {
            d[x] = s[x];
        }
        for (A_long x = right_start; x < w; ++x) {
            d[x] = s[x];
        }
    }
}

}  // namespace

void deartifact_median(const CVFloatWorld& src, A_long filter, CVFloatWorld& dst)
{
    switch (filter) {
    case 1:
        copy_borders(src, dst, 1);
        median_interior<1>(src, dst);
        break;
    case 2:
        copy_borders(src, dst, 2);
        median_interior<2>(src, dst);
        break;
    case 3:
        copy_borders(src, dst, 3);
        median_interior<3>(src, dst);
        break;
    default:
        break;
    }
}
