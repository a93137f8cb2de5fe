#include "image/median_filter.h"

#include <emmintrin.h>

#include <cstring>
#include <utility>

#include "image/float_world.h"

namespace {

// The networks run on whole pixels: one compare-exchange orders red, green
// and blue (and the unused alpha lane) at once. Equal values keep both
// copies, so each lane sees exactly the multiset it started with.
inline void sort2(__m128& a, __m128& b)
{
    const __m128 lo = _mm_min_ps(b, a);
    const __m128 hi = _mm_max_ps(a, b);
    a = lo;
    b = hi;
}

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

template <const auto& Net, size_t... I>
inline void run_network(__m128* p, std::index_sequence<I...>)
{
    (sort2(p[Net[I][0]], p[Net[I][1]]), ...);
}

// Unrolled with constant indices so that the window stays in registers.
struct Median9 {
    static constexpr int kRadius = 1;
    static __m128 run(__m128* p)
    {
        run_network<kMedian9>(p, std::make_index_sequence<sizeof(kMedian9) / 2>());
        return p[4];
    }
};

struct Median25 {
    static constexpr int kRadius = 2;
    static __m128 run(__m128* p)
    {
        run_network<kMedian25>(p, std::make_index_sequence<sizeof(kMedian25) / 2>());
        return p[12];
    }
};

// Selection by repeated partitioning (Wirth); reorders its input.
float select_kth(float* a, int n, int k)
{
    int lo = 0;
    int hi = n - 1;
    while (lo < hi) {
        const float x = a[k];
        int i = lo;
        int j = hi;
        do {
            while (a[i] < x) {
                ++i;
            }
            while (x < a[j]) {
                --j;
            }
            if (i <= j) {
                const float t = a[i];
                a[i] = a[j];
                a[j] = t;
                ++i;
                --j;
            }
        } while (i <= j);
        if (j < k) {
            lo = i;
        }
        if (k < i) {
            hi = j;
        }
    }
    return a[k];
}

float median49(float* p)
{
    return select_kth(p, 49, 24);
}

// Walks one column at a time and keeps a ring of the k most recent window
// rows (k pixels each), so moving down fetches one new row of k pixels. The
// window is copied out of the ring because the network reorders it.
template <typename Network>
void median_interior_network(const CVFloatWorld& src, CVFloatWorld& dst)
{
    constexpr int R = Network::kRadius;
    constexpr int k = 2 * R + 1;
    const A_long w = src.width();
    const A_long h = src.height();
    if (w <= 2 * R || h <= 2 * R) {
        return;  // no interior
    }
    __m128 ring[k * k];
    const __m128 one = _mm_set_ss(1.0f);

    auto fetch = [&](A_long x, A_long y) {
        const int slot = static_cast<int>(y % k);
        const float* px = src.data_at_point(x - R, y);
        for (int i = 0; i < k; ++i) {
            ring[slot * k + i] = _mm_load_ps(px + 4 * i);
        }
    };

    for (A_long x = R; x < w - R; ++x) {
        for (A_long y = 0; y < 2 * R; ++y) {
            fetch(x, y);
        }
        for (A_long y = R; y < h - R; ++y) {
            fetch(x, y + R);
            __m128 window[k * k];
            for (int i = 0; i < k * k; ++i) {
                window[i] = ring[i];
            }
            // Alpha (lane 0) of every interior pixel becomes 1.0.
            _mm_store_ps(dst.data_at_point(x, y), _mm_move_ss(Network::run(window), one));
        }
    }
}

// The 7 x 7 filter selects per colour channel: the same column walk with a
// ring of k window rows of k values for each channel, copied out for the
// selection, which reorders its input.
template <int R, float (*Median)(float*)>
void median_interior_select(const CVFloatWorld& src, CVFloatWorld& dst)
{
    constexpr int k = 2 * R + 1;
    const A_long w = src.width();
    const A_long h = src.height();
    if (w <= 2 * R || h <= 2 * R) {
        return;  // no interior
    }
    float ring[3][k * k];
    float window[k * k];

    auto fetch = [&](A_long x, A_long y) {
        const int slot = static_cast<int>(y % k);
        const CVFloatWorld::tPixel* px = src.pixel_at_point(x - R, y);
        for (int i = 0; i < k; ++i) {
            ring[0][slot * k + i] = px[i].red;
            ring[1][slot * k + i] = px[i].green;
            ring[2][slot * k + i] = px[i].blue;
        }
    };

    for (A_long x = R; x < w - R; ++x) {
        for (A_long y = 0; y < 2 * R; ++y) {
            fetch(x, y);
        }
        for (A_long y = R; y < h - R; ++y) {
            fetch(x, y + R);
            float m[3];
            for (int c = 0; c < 3; ++c) {
                std::memcpy(window, ring[c], sizeof(window));
                m[c] = Median(window);
            }
            CVFloatWorld::tPixel* d = dst.pixel_at_point(x, y);
            d->alpha = 1.0f;
            d->red = m[0];
            d->green = m[1];
            d->blue = m[2];
        }
    }
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
        median_interior_network<Median9>(src, dst);
        break;
    case 2:
        copy_borders(src, dst, 2);
        median_interior_network<Median25>(src, dst);
        break;
    case 3:
        copy_borders(src, dst, 3);
        median_interior_select<3, median49>(src, dst);
        break;
    default:
        break;
    }
}
