// High boost and sharpen: two detail operations over 8-bit colour images,
// both built on the box blur.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "ox_color.h"
#include "ox_elementwise.h"
#include "ox_sharpen.h"

using namespace ox::detail;

namespace {

using BlurParamsPtr = Owned<oxBlurParams, oxBlurParamsRelease>;

// A fresh one-channel image with every byte 0.
ImagePtr zeroedPlane(int32_t width, int32_t height) {
    ImagePtr img(oxImageCreate(width, height, OX_GRAY));
    if (img) std::memset(img->data, 0, static_cast<size_t>(*bufferBytes(img.get())));
    return img;
}

// ---- High boost -----------------------------------------------------------

// 255 / v in float for every non-zero byte v: the per-channel cap.
struct CapTable {
    float cap[256]{};
    constexpr CapTable() {
        cap[0] = 0.0f;  // never read: a zero value does not lower the ratio
        for (int32_t v = 1; v < 256; ++v) cap[v] = 255.0f / static_cast<float>(v);
    }
};
constexpr CapTable kCaps;

// Scales the source ROI into the destination ROI by the ratio of the
// luminance `lum` to its mean `mean`, both read linearly, one byte per
// pixel of the ROI walk.
void boost(const oxHighBoostParams& p, const oxImage* src, oxImage* dst, const uint8_t* lum, const uint8_t* mean) {
    RoiCursor s = roiCursor(src), d = roiCursor(dst);
    // A one-byte pixel is a grey source: only the byte at offset 0 of each
    // side takes part.
    const int32_t channels = s.pixelStep == 1 ? 1 : 3;
    int32_t from[3] = {0, 0, 0}, to[3] = {0, 0, 0};
    if (channels == 3)
        for (int32_t c = 0; c < 3; ++c) {
            from[c] = oxImageGetChannelOffset(src, c + 1);
            to[c] = oxImageGetChannelOffset(dst, c + 1);
        }
    int64_t i = 0;
    walkRoi(
        src->roi.height, src->roi.width,
        [&](const uint8_t* sp, uint8_t* dp) {
            float r = p.gain * static_cast<float>(lum[i]);
            if (mean[i] != 0) r = r / static_cast<float>(mean[i]);
            r = std::min(r, p.maxRatio);
            // Each channel may only lower the ratio for those after it, so a
            // saturating blue holds back green and red but a saturating red
            // does not hold back blue: the order dependence is intended.
            for (int32_t c = 0; c < channels; ++c) {
                const uint8_t v = sp[from[c]];
                if (v != 0) r = std::min(r, kCaps.cap[v]);
                const float o = r * static_cast<float>(v);
                dp[to[c]] = clampToByte(o);
            }
            ++i;
        },
        s, d);
}

Status highBoost(const oxHighBoostParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t cols = src->roi.width, rows = src->roi.height;
    if (src->type != OX_8U || dst->type != OX_8U || !roiWalkFits(src, cols, rows) || !roiWalkFits(dst, cols, rows))
        return Status::Refused;
    BlurParamsPtr blur(oxBlurParamsDefault());
    if (!blur) return Status::Refused;
    *blur = p.blur;
    // Zero-filled: with both radii below 1 the blur writes nothing, and the
    // mean must not be indeterminate (every ratio is then undivided).
    ImagePtr mean = zeroedPlane(cols, rows);
    if (!mean) return Status::Refused;
    ImagePtr converted;
    const oxImage* lum = src;
    if (src->encoding != OX_GRAY) {
        converted.reset(oxImageCreate(cols, rows, OX_GRAY));
        if (!converted || oxImageCvtColor(src, converted.get()) != 0) return Status::Refused;
        lum = converted.get();
    }
    // A grey source is its own luminance, read from its first byte: the blur
    // refuses it unless its ROI is as large as the whole image, so the walk
    // below never reads past it.
    const int32_t blurred = oxBlurFilter(blur.get(), lum, mean.get(), abortFlag);
    blur.reset();
    if (blurred != 0) return Status::Refused;
    if (p.enabled == 0) return Status::Ok;
    boost(p, src, dst, lum->data, mean->data);
    return Status::Ok;
}

// ---- Sharpen --------------------------------------------------------------

inline uint8_t clip(int32_t v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

// One colour channel of an 8-bit image, ROI ignored.
struct Channel {
    const uint8_t* base;  // first pixel's byte of this channel
    int64_t pixel, row;   // steps in bytes
    uint8_t operator()(int64_t x, int64_t y) const { return base[y * row + x * pixel]; }
};

Channel channelOf(const oxImage* img, int32_t c) {
    const Steps s = stepsOf(img);
    return {img->data + oxImageGetChannelOffset(img, c), s.pixel, s.row};
}

// The positively clipped Laplacian of one channel into `detail` (w x h, at
// least 2 x 2). The sums are small integers, exact in float, so integer
// arithmetic gives the same bytes as the float form.
void clippedLaplacian(const Channel& P, int64_t w, int64_t h, uint8_t z, uint8_t* detail) {
    auto at = [&](int64_t x, int64_t y) -> uint8_t& { return detail[y * w + x]; };
    if (h >= 3)
        for (int64_t y = 1; y <= h - 2; ++y) {
            at(0, y) = clip(P(0, y - 1) + P(0, y + 1) + 2 * P(1, y) - 4 * P(0, y));
            for (int64_t x = 1; x <= w - 2; ++x)
                at(x, y) = clip(P(x, y - 1) + P(x, y + 1) + P(x - 1, y) + P(x + 1, y) - 4 * P(x, y));
            // Deliberate: the right column's centre term is the buffer's first
            // byte, not the pixel itself; hosts depend on this output.
            at(w - 1, y) = clip(P(w - 1, y - 1) + P(w - 1, y + 1) + 2 * P(w - 2, y) - 4 * z);
        }
    at(0, 0) = clip(2 * P(0, 1) + 2 * P(1, 0) - 4 * P(0, 0));
    at(0, h - 1) = clip(2 * P(0, h - 2) + 2 * P(1, h - 1) - 4 * P(0, h - 1));
    at(w - 1, 0) = clip(2 * P(w - 1, 1) + 2 * P(w - 2, 0) - 4 * P(w - 1, 0));
    at(w - 1, h - 1) = clip(2 * P(w - 1, h - 2) + 2 * P(w - 2, h - 1) - 4 * P(w - 1, h - 1));
    // Deliberate: the top and bottom rows between the corners are not
    // written and keep the previous channel's blurred detail.
}

// dst = max(T[d] + src, 0) in double, truncated, with T[d] = d * (-amount).
// Deliberately no upper clamp: a negative amount can exceed 255, which keeps
// the low 8 bits of the truncated value. The result depends on the pair
// (detail d, source byte) only, so all 65536 are tabled once per call.
Buffer subtractTable(double amount) {
    Buffer table = allocateBuffer(256 * 256);
    if (!table) return table;
    for (int32_t d = 0; d < 256; ++d) {
        const double t = static_cast<double>(d) * -amount;
        for (int32_t s = 0; s < 256; ++s)
            table[d * 256 + s] = wrapTrunc<uint8_t>(std::max(t + static_cast<double>(s), 0.0));
    }
    return table;
}

// One channel of every pixel, in memory order.
void subtractDetail(const uint8_t* table, const uint8_t* detail, int64_t n, const Channel& s, uint8_t* d,
                    int64_t dstPixel) {
    for (int64_t i = 0; i < n; ++i) d[i * dstPixel] = table[detail[i] * 256 + s.base[i * s.pixel]];
}

bool sharpenable(const oxImage* img) {
    return hasBuffer(img) && channelCount(img->encoding) >= 3 && img->type == OX_8U && img->width >= 2 &&
           img->height >= 2;
}

int32_t sharpen(double amount, const oxImage* src, const oxImage* mask, oxImage* dst, AbortFlag abortFlag) {
    if (!sharpenable(src) || !sharpenable(dst) || dst->width != src->width || dst->height != src->height)
        return code(Status::Refused);
    const int64_t w = src->width, h = src->height, dstPixel = stepsOf(dst).pixel;
    const Buffer table = subtractTable(amount);
    ImagePtr detail = zeroedPlane(src->width, src->height);
    if (!table || !detail) return code(Status::Refused);
    // The blend needs the unsharpened source; in place it is kept as a
    // byte-for-byte copy with the source's ROI, so that the blend walks the
    // same region it walks out of place.
    ImagePtr original;
    if (mask && src == dst) {
        original.reset(oxImageCreateAs(src));
        if (!original) return code(Status::Refused);
        std::memcpy(original->data, src->data, static_cast<size_t>(*bufferBytes(src)));
        original->roi = src->roi;
    }
    for (int32_t c = 1; c <= 3; ++c) {
        BlurParamsPtr blur(oxBlurParamsDefault());
        if (!blur) return code(Status::Refused);
        const Channel in = channelOf(src, c);
        // Read now, not once: in place, channels 2 and 3 see the first byte
        // as already sharpened.
        clippedLaplacian(in, w, h, src->data[0], detail->data);
        if (const int32_t r = oxBlurFilter(blur.get(), detail.get(), detail.get(), abortFlag); r != 0) return r;
        uint8_t* out = dst->data + oxImageGetChannelOffset(dst, c);
        subtractDetail(table.get(), detail->data, w * h, in, out, dstPixel);
    }
    detail.reset();
    if (!mask) return code(Status::Ok);
    if (src == dst) return oxAddWeigthedM(original.get(), dst, dst, mask);
    return oxAddWeigthedM(src, dst, dst, mask);
}

}  // namespace

extern "C" {

OX_API oxHighBoostParams* oxHighBoostParamsDefault(void) {
    // Zero-filled rather than left indeterminate; only the blur has a
    // default, the caller sets the rest.
    auto* p = allocateRecord<oxHighBoostParams>();
    if (p) p->blur = {1, 1};
    return p;
}

OX_API void oxHighBoostParamsRelease(oxHighBoostParams** params) { releaseRecord(params); }

OX_API int32_t oxHighBoostFilter(const oxHighBoostParams* params, const oxImage* src, oxImage* dst,
                                 const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(highBoost(*params, src, dst, abortFlag));
}

OX_API oxSharpenParams* oxSharpenParamsDefault(void) {
    auto* p = allocateRecord<oxSharpenParams>();
    if (p) p->amount = static_cast<double>(0.3f);
    return p;
}

OX_API void oxSharpenParamsRelease(oxSharpenParams** params) { releaseRecord(params); }

OX_API int32_t oxSharpenFilter(const oxSharpenParams* params, const oxImage* src, const oxImage* mask, oxImage* dst,
                               const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return sharpen(params->amount, src, mask, dst, abortFlag);
}

}  // extern "C"
