// Image resize: nearest neighbour for every pixel type, bilinear in fixed
// point for 8-bit images, Lanczos for double images; and the Lanczos
// resampling of 1-D functions that the double path is built on.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/status.hpp"
#include "geometry/detail/sine.hpp"
#include "ox_resize.h"

using namespace ox::detail;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr int32_t kLanczosA = 3;

double lanczos(double a, double x) {
    if (x == 0.0) return 1.0;
    if (!(std::fabs(x) < a)) return 0.0;  // NaN lands here too
    const double px = kPi * x;
    const double pxa = (x / a) * kPi;
    // The library's own sine: the same bits on every processor.
    return (sine(px) / px) * (sine(pxa) / pxa);
}

// Seven taps around x = j * ns / nd with weights taken at d + k, d = 1 -
// frac(x): the window is centred one sample before x. The offset is
// deliberate: callers depend on this output.
void lanczosResample(const double* s, int32_t ns, double* d, int32_t nd) {
    const double scale = static_cast<double>(ns) / static_cast<double>(nd);
    for (int32_t j = 0; j < nd; ++j) {
        const double x = scale * j;
        const double offset = (1.0 - x) + std::floor(x);
        double sum = 0.0, weights = 0.0;
        for (int32_t k = -kLanczosA; k <= kLanczosA; ++k) {
            const int64_t index = std::clamp<int64_t>(saturateTrunc<int64_t>(x + k), 0, ns - 1);
            const double w = lanczos(kLanczosA, offset + k);
            sum = std::fma(w, s[index], sum);
            weights += w;
        }
        d[j] = sum / weights;
    }
}

// ---------------------------------------------------------------- checks

int32_t roiW(const oxImage* img) { return img->roi.width; }
int32_t roiH(const oxImage* img) { return img->roi.height; }

// Both ROIs non-empty and inside their images with pixels behind them.
bool roisUsable(const oxImage* src, const oxImage* dst) {
    return roiW(src) > 0 && roiH(src) > 0 && roiW(dst) > 0 && roiH(dst) > 0 && roiInside(src) && roiInside(dst);
}

int32_t typeOfMode(int32_t mode) { return mode == 1 ? OX_64F : OX_8U; }

int64_t nonNegative(int32_t v) { return v > 0 ? v : 0; }

// Bilinear work area: two int32 row buffers of dst ROI width, then a
// (column, weight) pair per destination column and one per row.
int64_t workBytes(const oxImage* dst, int32_t mode) {
    return mode != 1 ? 8 * nonNegative(roiH(dst)) + 16 * nonNegative(roiW(dst)) : 0;
}

Count planeBytes(const oxImage* img) {
    return checkedProduct({nonNegative(roiW(img)), nonNegative(roiH(img)), elementSize(img->type)});
}

// The scratch of oxResizeOpt: the work area and a plane per colour image;
// nullopt when no buffer can be that large.
Count tempBytes(const oxImage* src, const oxImage* dst, int32_t mode) {
    auto plane = [](const oxImage* img) { return channelCount(img->encoding) > 1 ? planeBytes(img) : Count(0); };
    const Count in = plane(src), out = plane(dst);
    if (!in || !out) return std::nullopt;
    return checkedSum({workBytes(dst, mode), *in, *out});
}

// Beyond what the size query can report: refused.
bool tempTooLarge(const oxImage* src, const oxImage* dst, int32_t mode) {
    const Count bytes = tempBytes(src, dst, mode);
    return !bytes || *bytes > UINT32_MAX;
}

// ---------------------------------------------------------------- nearest

template <class T> void nearestRows(const oxImage* src, oxImage* dst, const int32_t* cols, double sy) {
    const int32_t channels = channelCount(src->encoding);
    const int32_t sh = roiH(src), dw = roiW(dst), dh = roiH(dst);
    for (int32_t j = 0; j < dh; ++j) {
        const int32_t sr = std::min(saturateTrunc<int32_t>(std::floor(j / sy)), sh - 1);
        const T* s = row<const T>(src, src->roi.y + sr) + static_cast<int64_t>(src->roi.x) * channels;
        T* d = row<T>(dst, dst->roi.y + j) + static_cast<int64_t>(dst->roi.x) * channels;
        for (int32_t i = 0; i < dw; ++i)
            for (int32_t c = 0; c < channels; ++c) d[i * channels + c] = s[cols[i] * channels + c];
    }
}

Status resizeNearest(const oxImage* src, oxImage* dst) {
    if (src->encoding != dst->encoding || src->type != dst->type || src->width == 0 || src->height == 0 ||
        !isKnownType(src->type) || !roisUsable(src, dst))
        return Status::Refused;
    const int32_t sw = roiW(src), dw = roiW(dst);
    const double sx = static_cast<double>(dw) / sw;
    const double sy = static_cast<double>(roiH(dst)) / roiH(src);
    Buffer table = allocateBuffer(static_cast<size_t>(dw) * sizeof(int32_t));
    if (!table) return Status::Refused;
    auto* cols = reinterpret_cast<int32_t*>(table.get());
    for (int32_t i = 0; i < dw; ++i) cols[i] = std::min(saturateTrunc<int32_t>(std::floor(i / sx)), sw - 1);
    visitType(src->type, [&](auto tag) { nearestRows<typename decltype(tag)::type>(src, dst, cols, sy); });
    return Status::Ok;
}

// ---------------------------------------------------------------- bilinear

// A source index and the share (0..1024) of the next source sample.
struct Tap {
    int32_t index;
    int32_t weight;
};

// Centre of destination sample i mapped into the source: the ratio is a
// float, the product a double rounded back to float; the weight is rounded
// half down.
Tap rawTap(int32_t i, float ratio) {
    const auto f = static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
    const float k = std::floor(f);
    const double share = static_cast<double>((f - k) * 1024.0f);
    return {saturateTrunc<int32_t>(k), saturateTrunc<int32_t>(std::ceil(share - 0.5))};
}

void columnTaps(Tap* taps, int32_t sw, int32_t dw) {
    const float ratio = static_cast<float>(sw) / static_cast<float>(dw);
    for (int32_t i = 0; i < dw; ++i) {
        const Tap t = rawTap(i, ratio);
        const int32_t c = std::min(std::max(t.index, 0), sw - 1);
        taps[i] = {c, t.index < 0 || std::max(t.index, 0) >= sw - 1 ? 0 : t.weight};
    }
}

void rowTaps(Tap* taps, int32_t sh, int32_t dh) {
    const float ratio = static_cast<float>(sh) / static_cast<float>(dh);
    for (int32_t j = 0; j < dh; ++j) {
        const Tap t = rawTap(j, ratio);
        taps[j] = {std::max(t.index, 0), t.index < 0 ? 0 : t.weight};
    }
}

// One source row interpolated horizontally, in 1/1024 units. Columns
// mapped onto the last source sample have weight 0 and form the tail of
// the table; they never read the sample to their right.
void interpolateRow(const uint8_t* s, const Tap* cols, int32_t body, int32_t dw, int32_t* out) {
    for (int32_t i = 0; i < body; ++i) {
        const int32_t c = cols[i].index;
        out[i] = s[c] * 1024 + (s[c + 1] - s[c]) * cols[i].weight;
    }
    for (int32_t i = body; i < dw; ++i) out[i] = s[cols[i].index] * 1024;
}

// Output bytes from the interpolated upper and lower source rows, rounded
// to nearest (524288 is half of 2^20). With wy = 0 the lower row is not
// read. Results are 0..255, so the shift works on an unsigned value.
template <int32_t N>
void blendBlock(const int32_t* __restrict a, const int32_t* __restrict b, int32_t wy, uint8_t* __restrict d) {
    if (wy == 0)
        for (int32_t l = 0; l < N; ++l) d[l] = static_cast<uint8_t>(static_cast<uint32_t>(a[l] * 1024 + 524288) >> 20);
    else
        for (int32_t l = 0; l < N; ++l)
            d[l] = static_cast<uint8_t>(static_cast<uint32_t>(a[l] * 1024 + (b[l] - a[l]) * wy + 524288) >> 20);
}

// Fixed-width blocks let the compiler vectorise without a run-time trip
// count; the remainder goes one sample at a time.
void blendRows(const int32_t* a, const int32_t* b, int32_t wy, uint8_t* d, int32_t n) {
    constexpr int32_t kBlock = 32;
    int32_t i = 0;
    for (; i + kBlock <= n; i += kBlock) blendBlock<kBlock>(a + i, b + i, wy, d + i);
    for (; i < n; ++i) blendBlock<1>(a + i, b + i, wy, d + i);
}

void resizeBilinear(const oxImage* src, oxImage* dst, int32_t* work) {
    const int32_t sw = roiW(src), sh = roiH(src), dw = roiW(dst), dh = roiH(dst);
    int32_t* buf[2] = {work, work + dw};
    Tap* cols = reinterpret_cast<Tap*>(work + 2 * static_cast<int64_t>(dw));
    Tap* rows = cols + dw;
    columnTaps(cols, sw, dw);
    rowTaps(rows, sh, dh);
    int32_t body = dw;
    while (body > 0 && cols[body - 1].index == sw - 1) --body;

    auto sourceRow = [&](int32_t r) { return row<const uint8_t>(src, src->roi.y + r) + src->roi.x; };
    int32_t held[2] = {-1, -1};  // source rows in buf[0] and buf[1]
    for (int32_t j = 0; j < dh; ++j) {
        const int32_t r = std::min(rows[j].index, sh - 1);
        const int32_t wy = rows[j].weight;
        const bool lower = r < sh - 1 && wy > 0;
        if (held[0] != r) {
            if (held[1] == r) {
                std::swap(buf[0], buf[1]);
                std::swap(held[0], held[1]);
            } else {
                interpolateRow(sourceRow(r), cols, body, dw, buf[0]);
                held[0] = r;
            }
        }
        if (lower && held[1] != r + 1) {
            interpolateRow(sourceRow(r + 1), cols, body, dw, buf[1]);
            held[1] = r + 1;
        }
        blendRows(buf[0], buf[1], lower ? wy : 0, row<uint8_t>(dst, dst->roi.y + j) + dst->roi.x, dw);
    }
}

// ---------------------------------------------------------------- Lanczos

using FunctionHeader = Owned<oxFunction, oxFunctionReleaseHeader>;
using Function = Owned<oxFunction, oxFunctionRelease>;

Status resizeLanczos(const oxImage* src, oxImage* dst) {
    const int32_t sw = roiW(src), sh = roiH(src), dw = roiW(dst), dh = roiH(dst);
    // Rows go into an intermediate of dst's width and src's height; when
    // dst has room for it, dst itself holds the intermediate.
    ImagePtr owned;
    const oxImage* mid = dst;
    if (dst->height < src->height) {
        owned.reset(oxImageCreateWithType(dst->width, src->height, OX_GRAY, OX_64F));
        if (!owned) return Status::Refused;
        mid = owned.get();
    }
    FunctionHeader rowIn(oxFunctionCreateHeader(sw)), rowOut(oxFunctionCreateHeader(dw));
    Function colIn(oxFunctionCreate(sh)), colOut(oxFunctionCreate(dh));
    if (!rowIn || !rowOut || !colIn || !colOut) return Status::Refused;

    for (int32_t y = 0; y < src->height; ++y) {
        rowIn->values = row<double>(src, y);
        rowOut->values = row<double>(mid, y);
        oxLanczosResizeFunction(rowIn.get(), rowOut.get());
    }
    for (int32_t x = 0; x < dw; ++x) {
        for (int32_t y = 0; y < sh; ++y) colIn->values[y] = row<double>(mid, y)[x];
        oxLanczosResizeFunction(colIn.get(), colOut.get());
        for (int32_t y = 0; y < dh; ++y) row<double>(dst, y)[x] = colOut->values[y];
    }
    auto* v = reinterpret_cast<double*>(dst->data);
    const int64_t n = static_cast<int64_t>(dst->width) * dst->height;
    for (int64_t i = 0; i < n; ++i) v[i] = (v[i] >= 1.0 || v[i] != v[i]) ? 1.0 : (v[i] < 0.0 ? 0.0 : v[i]);
    return Status::Ok;
}

// ---------------------------------------------------------------- dispatch

bool typesFitMode(const oxImage* src, const oxImage* dst, int32_t mode) {
    return dst->type == typeOfMode(mode) && src->type == dst->type;
}

Status resize1C(const oxImage* src, oxImage* dst, int32_t mode, void* work) {
    if (!typesFitMode(src, dst, mode) || channelCount(src->encoding) != 1 || channelCount(dst->encoding) != 1 ||
        !roisUsable(src, dst) || (mode != 1 && !work))
        return Status::Refused;
    if (mode == 1) return resizeLanczos(src, dst);
    resizeBilinear(src, dst, static_cast<int32_t*>(work));
    return Status::Ok;
}

Status resizeOpt(const oxImage* src, oxImage* dst, int32_t mode, uint8_t* buffer) {
    if (!typesFitMode(src, dst, mode) || oxImageHaveUncompatibleEncodings(src, dst) || !roisUsable(src, dst) ||
        tempTooLarge(src, dst, mode))
        return Status::Refused;
    if (channelCount(src->encoding) == 1) return resize1C(src, dst, mode, buffer);
    const int32_t channels = channelCount(src->encoding);
    if (!buffer || channelCount(dst->encoding) < channels) return Status::Refused;
    // The work area comes first so that its int32 tables, and the double
    // planes after it, stay aligned.
    uint8_t* const planes = buffer + workBytes(dst, mode);
    HeaderPtr in = planeHeader(roiW(src), roiH(src), src->type, planes);
    HeaderPtr out = planeHeader(roiW(dst), roiH(dst), dst->type, planes + *planeBytes(src));
    if (!in || !out) return Status::Refused;
    const int32_t r = forEachChannelPlane(src, dst, channels, in.get(), out.get(), [&](oxImage* i, oxImage* o) {
        return code(resize1C(i, o, mode, buffer));
    });
    return r == 0 ? Status::Ok : Status::Refused;
}

}  // namespace

extern "C" {

OX_API double oxLanczosFunction(double a, double x) { return lanczos(a, x); }

OX_API void oxLanczosResizeFunction(const oxFunction* src, oxFunction* dst) {
    if (!src || !dst || src->count < 1 || dst->count < 1) return;
    lanczosResample(src->values, src->count, dst->values, dst->count);
}

OX_API int32_t oxResizeFunction(const oxFunction* src, oxFunction* dst, int32_t mode) {
    if (mode != 1) return code(Status::Refused);
    oxLanczosResizeFunction(src, dst);
    return code(Status::Ok);
}

OX_API uint32_t oxResizeGetTempBufferSize(const oxImage* src, const oxImage* dst, int32_t mode) {
    if (!src || !dst) return 0;
    const Count bytes = tempBytes(src, dst, mode);
    return bytes ? static_cast<uint32_t>(std::min<int64_t>(*bytes, UINT32_MAX)) : UINT32_MAX;
}

OX_API int32_t oxResize(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved) {
    (void)reserved;
    if (!src || !dst) return code(Status::Refused);
    // A ROI that would be refused must not first cost a scratch of its size.
    if (!roisUsable(src, dst)) return code(Status::Refused);
    if (mode == -1) return code(resizeNearest(src, dst));
    if (tempTooLarge(src, dst, mode)) return code(Status::Refused);
    return withScratch(sizeOrZero(tempBytes(src, dst, mode)), false,
                       [&](uint8_t* buffer) { return code(resizeOpt(src, dst, mode, buffer)); });
}

OX_API int32_t oxResizeOpt(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved,
                           void* buffer) {
    (void)reserved;
    if (!src || !dst) return code(Status::Refused);
    return code(resizeOpt(src, dst, mode, static_cast<uint8_t*>(buffer)));
}

OX_API int32_t oxResize1C(const oxImage* src, oxImage* dst, int32_t mode, void* work) {
    if (!src || !dst) return code(Status::Refused);
    return code(resize1C(src, dst, mode, work));
}

}  // extern "C"
