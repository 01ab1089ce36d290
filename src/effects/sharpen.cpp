// High boost and sharpen: two detail operations over 8-bit colour images,
// both built on the box blur.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "convolution/detail/blur_ops.hpp"
#include "core/detail/core_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/sharpen_kernels.hpp"
#include "effects/detail/sharpen_ops.hpp"
#include "ox_color.h"
#include "ox_elementwise.h"
#include "ox_sharpen.h"

using namespace ox::detail;

namespace {


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

// The plain loop of one row: the reference the AVX2 row is held to.
void boostRow(const uint8_t* sp, int32_t sStep, const ChannelOffsets& from, uint8_t* dp, int32_t dStep,
              const ChannelOffsets& to, int32_t channels, const uint8_t* lum, const uint8_t* mean, int64_t count,
              float gain, float maxRatio) {
    for (int64_t i = 0; i < count; ++i, sp += sStep, dp += dStep) {
        float r = gain * static_cast<float>(lum[i]);
        if (mean[i] != 0) r = r / static_cast<float>(mean[i]);
        r = std::min(r, maxRatio);
        // Each channel may only lower the ratio for those after it, so a
        // saturating blue holds back green and red but a saturating red
        // does not hold back blue: the order dependence is intended.
        for (int32_t c = 0; c < channels; ++c) {
            const uint8_t v = sp[from.at[c]];
            if (v != 0) r = std::min(r, kCaps.cap[v]);
            const float o = r * static_cast<float>(v);
            dp[to.at[c]] = clampToByte(o);
        }
    }
}

// Bytes a view spans, for the overlap test.
template <class T> const uint8_t* viewEnd(View<T> v) {
    return reinterpret_cast<const uint8_t*>(v.row(v.height - 1) + v.rowElements());
}

// The AVX2 row reads a block of pixels before it writes it; that is the
// plain order unless the views overlap other than pixel for pixel, channel
// for channel (the plain loop reads each channel just before it writes it).
bool blocksAreSafe(ConstView<uint8_t> src, const ChannelOffsets& from, ConstView<uint8_t> dst,
                   const ChannelOffsets& to) {
    if (src.data == dst.data)
        return src.channels == dst.channels && src.stride == dst.stride && from.at[0] == to.at[0] &&
               from.at[1] == to.at[1] && from.at[2] == to.at[2];
    return viewEnd(src) <= dst.data || viewEnd(dst) <= src.data;
}

// The encoding whose blue, green and red sit at `from` in pixels of
// `channels` bytes; -1 for none.
int32_t colourEncodingOf(int32_t channels, const ChannelOffsets& from) {
    for (int32_t e : {OX_BGR, OX_RGB, OX_ARGB, OX_RGBA})
        if (channelCount(e) == channels && oxGetChannelOffsetFromEncoding(e, 1) == from.at[0] &&
            oxGetChannelOffsetFromEncoding(e, 2) == from.at[1] && oxGetChannelOffsetFromEncoding(e, 3) == from.at[2])
            return e;
    return -1;
}

// The luminance the high boost sharpens by: the image core's grey
// conversion, on channels laid out as one of the colour encodings.
Status greyOf(ConstView<uint8_t> src, const ChannelOffsets& from, View<uint8_t> grey) {
    if (colourEncodingOf(src.channels, from) < 0) return Status::Refused;
    return greyFromColor(src, ChannelOrder{{from.at[0], from.at[1], from.at[2]}}, grey);
}

// The ROI walk of `cols` x `rows` pixels over an 8-bit image as a view: from
// the ROI origin, rows apart by the pixels walked plus the image's own ROI
// row skip (so a destination ROI narrower than the walk drifts, as the walk
// does).
View<uint8_t> walkView(const oxImage* img, int32_t cols, int32_t rows) {
    const RoiCursor c = roiCursor(img);
    const int32_t channels = channelCount(img->encoding);
    return {c.p, cols, rows, channels, static_cast<int64_t>(cols) * channels + c.rowSkip};
}

// A packed plane over an oxImage's first bytes.
View<uint8_t> planeAt(const oxImage* img, int32_t cols, int32_t rows) { return {img->data, cols, rows, 1, cols}; }

Status highBoostImage(const oxHighBoostParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t cols = src->roi.width, rows = src->roi.height;
    if (src->type != OX_8U || dst->type != OX_8U || !roiWalkFits(src, cols, rows) || !roiWalkFits(dst, cols, rows))
        return Status::Refused;
    const View<uint8_t> in = walkView(src, cols, rows), out = walkView(dst, cols, rows);
    if (src->encoding != OX_GRAY) return highBoost(in, channelOffsets(src), out, channelOffsets(dst), p, abortFlag);
    // A grey source is its own luminance, read from its first byte: the blur
    // refuses it unless its ROI is as large as the whole image, so the walk
    // never reads past it. Without a pass to run the mean stays 0.
    if (!boxBlurFits(p.blur.radiusX, p.blur.radiusY, cols, rows) ||
        ((p.blur.radiusX >= 1 || p.blur.radiusY >= 1) && (cols != src->width || rows != src->height)))
        return Status::Refused;
    OwnedView<uint8_t> mean = allocateView<uint8_t>(cols, rows, 1);
    if (!mean) return Status::Refused;
    std::memset(mean.view.data, 0, static_cast<size_t>(cols) * static_cast<size_t>(rows));
    const ConstView<uint8_t> lum = planeAt(src, cols, rows);
    if (boxBlurPlane(lum, mean.view, p.blur.radiusX, p.blur.radiusY, abortFlag) != Status::Ok) return Status::Refused;
    if (p.enabled == 0) return Status::Ok;
    return highBoostPixels(in, {}, out, {}, lum.data, mean.view.data, p.gain, p.maxRatio);
}

}  // namespace

namespace ox::detail {

Status highBoostPixels(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                       const uint8_t* lum, const uint8_t* mean, float gain, float maxRatio) noexcept {
    if (src.empty()) return Status::Ok;
    const int32_t channels = src.channels == 1 ? 1 : 3;
    if (channels == 1) from = to = {{0, 0, 0}};
    // Every pixel depends on its own bytes only (the views are the same
    // pixels or apart), so the vector blocks of all rows may go first.
    int64_t done = 0;
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && blocksAreSafe(src, from, dst, to)) {
        if (src.packed() && dst.packed()) {
            // Packed rows (and planes) follow one another: one run over all
            // of them leaves the plain loop only the image's last pixels.
            const int64_t n = static_cast<int64_t>(src.width) * src.height;
            done = highBoostRowsAvx2(src.data, 0, src.channels, from, dst.data, 0, dst.channels, to, lum, mean, n, 1,
                                     gain, maxRatio);
            boostRow(src.data + done * src.channels, src.channels, from, dst.data + done * dst.channels, dst.channels,
                     to, channels, lum + done, mean + done, n - done, gain, maxRatio);
            return Status::Ok;
        }
        done = highBoostRowsAvx2(src.data, src.stride, src.channels, from, dst.data, dst.stride, dst.channels, to, lum,
                                 mean, src.width, src.height, gain, maxRatio);
    }
#endif
    for (int64_t y = 0; y < src.height; ++y) {
        const int64_t at = y * src.width + done;
        boostRow(src.row(y) + done * src.channels, src.channels, from, dst.row(y) + done * dst.channels, dst.channels,
                 to, channels, lum + at, mean + at, src.width - done, gain, maxRatio);
    }
    return Status::Ok;
}

Status highBoost(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                 const oxHighBoostParams& p, AbortFlag abortFlag) noexcept {
    const int32_t cols = src.width, rows = src.height;
    if (!boxBlurFits(p.blur.radiusX, p.blur.radiusY, cols, rows)) return Status::Refused;
    // Luminance and mean in one allocation; the mean is zero-filled, since
    // with both radii below 1 the blur writes nothing (every ratio is then
    // undivided).
    OwnedView<uint8_t> planes = allocateView<uint8_t>(cols, rows, 2);
    if (!planes) return Status::Refused;
    const int64_t n = static_cast<int64_t>(cols) * rows;
    const View<uint8_t> lum{planes.view.data, cols, rows, 1, cols}, mean{planes.view.data + n, cols, rows, 1, cols};
    std::memset(mean.data, 0, static_cast<size_t>(n));
    if (greyOf(src, from, lum) != Status::Ok) return Status::Refused;
    if (boxBlurPlane(lum, mean, p.blur.radiusX, p.blur.radiusY, abortFlag) != Status::Ok) return Status::Refused;
    if (p.enabled == 0) return Status::Ok;
    return highBoostPixels(src, from, dst, to, lum.data, mean.data, p.gain, p.maxRatio);
}

}  // namespace ox::detail

namespace {

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
        const Channel in = channelOf(src, c);
        // Read now, not once: in place, channels 2 and 3 see the first byte
        // as already sharpened.
        clippedLaplacian(in, w, h, src->data[0], detail->data);
        const View<uint8_t> plane = planeAt(detail.get(), src->width, src->height);
        if (const Status r = boxBlurPlane(plane, plane, 1, 1, abortFlag); r != Status::Ok) return code(r);
        uint8_t* out = dst->data + oxImageGetChannelOffset(dst, c);
        subtractDetail(table.get(), detail->data, w * h, in, out, dstPixel);
    }
    detail.reset();
    if (!mask) return code(Status::Ok);
    if (src == dst) return oxAddWeigthedM(original.get(), dst, dst, mask);
    return oxAddWeigthedM(src, dst, dst, mask);
}

}  // namespace

int32_t ox::detail::sharpenStage(double amount, const oxImage* source, const oxImage* mask, oxImage* destination,
                                 AbortFlag abortFlag) {
    return sharpen(amount, source, mask, destination, abortFlag);
}

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
    return code(highBoostImage(*params, src, dst, abortFlag));
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
