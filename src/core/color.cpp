// Colour conversion between encodings and the fixed-point grey sum.
#include <algorithm>
#include <cstring>

#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_color.h"

using namespace ox::detail;

namespace {

// Table index of one channel value and the grey value made from the sum S,
// per pixel type. Integer types are quantised to 8 bits of each channel
// before weighting; the float types use S whole, bias included, scaled by
// 2^-22 (so white comes out as 0.998046875: that scale is intended).
template <int32_t Code> struct Gray;

template <> struct Gray<OX_8U> {
    static int32_t index(uint8_t v) { return v; }
    static uint8_t value(int32_t s) { return static_cast<uint8_t>(s >> 14); }
};
template <> struct Gray<OX_16U> {
    static int32_t index(uint16_t v) { return v >> 8; }
    static uint16_t value(int32_t s) { return static_cast<uint16_t>(s >> 6); }
};
template <> struct Gray<OX_32S> {
    static int32_t index(int32_t v) { return v < 0 ? 0 : std::min(v >> 8, 255); }
    static int32_t value(int32_t s) { return s >> 6; }
};
template <> struct Gray<OX_32U> {
    static int32_t index(uint32_t u) {
        const auto v = static_cast<int32_t>(u);
        return v < 0 ? 0 : std::min(v >> 16, 255);
    }
    static uint32_t value(int32_t s) { return static_cast<uint32_t>(s) * 4u; }
};
template <> struct Gray<OX_32F> {
    static int32_t index(float v) { return clampTrunc<int32_t>(v * 255.0f, 0, 255); }
    static float value(int32_t s) { return static_cast<float>(s) * 2.3841858e-7f; }
};
template <> struct Gray<OX_64F> {
    static int32_t index(double v) { return clampTrunc<int32_t>(v * 255.0, 0, 255); }
    static double value(int32_t s) { return static_cast<double>(s) * 2.384185791015625e-7; }
};

template <int32_t Code> void toGray(const oxImage* src, oxImage* dst) {
    using T = PixelType<Code>;
    const ChannelOffsets o = channelOffsets(src);
    RoiCursor s = roiCursor(src), d = roiCursor(dst);
    walkRoi(src->roi.height, src->roi.width,
            [&](const uint8_t* sp, uint8_t* dp) {
                T b, g, r;
                std::memcpy(&b, sp + o.at[0], sizeof b);
                std::memcpy(&g, sp + o.at[1], sizeof g);
                std::memcpy(&r, sp + o.at[2], sizeof r);
                const int32_t sum = ox_toGray_tab[Gray<Code>::index(b)] + ox_toGray_tab[256 + Gray<Code>::index(g)] +
                                    ox_toGray_tab[512 + Gray<Code>::index(r)];
                const T out = Gray<Code>::value(sum);
                std::memcpy(dp, &out, sizeof out);
            },
            s, d);
}

// Grey into colour replicates the value; colour into colour reorders.
void regroupChannels(const oxImage* src, oxImage* dst, int32_t e) {
    const ChannelOffsets o = channelOffsets(src), t = channelOffsets(dst);
    RoiCursor s = roiCursor(src), d = roiCursor(dst);
    walkRoi(src->roi.height, src->roi.width,
            [&](const uint8_t* sp, uint8_t* dp) {
                std::memcpy(dp + t.at[0], sp + o.at[0], e);
                std::memcpy(dp + t.at[1], sp + o.at[1], e);
                std::memcpy(dp + t.at[2], sp + o.at[2], e);
            },
            s, d);
}

void copyRows(const oxImage* src, oxImage* dst) {
    const Steps ss = stepsOf(src), ds = stepsOf(dst);
    const uint8_t* s = roiCursor(src).p;
    uint8_t* d = roiCursor(dst).p;
    const size_t bytes = static_cast<size_t>(src->roi.width * ss.pixel);
    for (int32_t y = 0; y < src->roi.height; ++y, s += ss.row, d += ds.row) std::memmove(d, s, bytes);
}

}  // namespace

// The table is spelled out by macros so that it is a constant array in the
// library's data, readable by the host as a plain C global.
#define OX_R4(f, i) f(i), f(i + 1), f(i + 2), f(i + 3)
#define OX_R16(f, i) OX_R4(f, i), OX_R4(f, i + 4), OX_R4(f, i + 8), OX_R4(f, i + 12)
#define OX_R64(f, i) OX_R16(f, i), OX_R16(f, i + 16), OX_R16(f, i + 32), OX_R16(f, i + 48)
#define OX_R256(f) OX_R64(f, 0), OX_R64(f, 64), OX_R64(f, 128), OX_R64(f, 192)
#define OX_BLUE(i) ((i) * 1868 + 8192)
#define OX_GREEN(i) ((i) * 9617)
#define OX_RED(i) ((i) * 4899)

extern "C" {

const int32_t ox_toGray_tab[768] = {OX_R256(OX_BLUE), OX_R256(OX_GREEN), OX_R256(OX_RED)};

OX_API int32_t oxImageCvtColor(const oxImage* src, oxImage* dst) {
    if (src->type != dst->type) return 1;
    if (src->roi.height < 1 || src->roi.width < 1) return 0;
    if (!roiInside(src)) return 1;
    if (src->encoding == dst->encoding) {
        // Rows advance by full row steps here, so only the destination's
        // origin and the block size matter.
        if (!roiBlockFits(dst, src->roi.width, src->roi.height)) return 1;
        copyRows(src, dst);
        return 0;
    }
    if (!roiWalkFits(dst, src->roi.width, src->roi.height)) return 1;
    if (channelCount(dst->encoding) > 1) {
        regroupChannels(src, dst, elementSize(src->type));
        return 0;
    }
    visitType(src->type, [&](auto tag) { toGray<decltype(tag)::code>(src, dst); });
    return 0;
}

}  // extern "C"
