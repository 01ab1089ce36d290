// Box blur: running-sum means along rows, then along columns, over 8-bit
// planes with mirrored borders.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/status.hpp"
#include "ox_blur.h"

using namespace ox::detail;

namespace {

// A pass with radius r >= 1 mirrors samples 1..r at each end, so the line
// must be longer than r.
bool passFits(int32_t radius, int32_t length) { return radius < 1 || length > radius; }

// Mirrored line positions: copy(d, s) puts sample s at line position d,
// giving sample(r) .. sample(1), sample(0) .. sample(len-1),
// sample(len-2) .. sample(len-1-r): the mirror without repeating the edge.
template <class Copy> void fillMirrored(int64_t len, int64_t r, Copy copy) {
    for (int64_t i = 0; i < r; ++i) copy(i, r - i);
    for (int64_t i = 0; i < len; ++i) copy(r + i, i);
    for (int64_t j = 0; j < r; ++j) copy(r + len + j, len - 2 - j);
}

// The mean is known to lie in 0..255 (NaN cannot occur); min/max instead of
// clampToByte's branches lets the column loop vectorise, with the same bytes.
inline uint8_t meanByte(float mean) {
    return static_cast<uint8_t>(static_cast<int32_t>(std::min(255.0f, std::max(0.0f, mean))));
}

// Running mean over a mirrored line: output x is the float sum of
// line[x .. x+2r] divided by 2r+1, truncated. The left half of the first
// window mirrors its right half, hence 2*S + centre. This is the reference
// form of every pass; the forms below give the same bytes.
void meanLine(const uint8_t* line, int64_t len, int64_t r, uint8_t* out) {
    const float n = static_cast<float>(2 * r + 1);
    float s = 0.0f;
    for (int64_t i = 0; i < r; ++i) s += line[i];
    float running = 2.0f * s + line[r] - line[2 * r];
    for (int64_t x = 0; x < len; ++x) {
        const float t = running + line[x + 2 * r];
        out[x] = meanByte(t / n);
        running = t - line[x];
    }
}

// Up to this radius every float sum of meanLine is an integer below 2^16,
// so it is exact and the pass can run in integers: a looked-up quotient
// along rows, a multiply-high in 16-bit lanes down columns.
constexpr int32_t kExactRadius = 128;

// Multiply-high of 16-bit lanes: (a * b) >> 16.
inline uint16_t mulHigh(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>((static_cast<uint32_t>(a) * static_cast<uint32_t>(b)) >> 16);
}

// T / n as two multiply-highs; passed by value so that the loops keep the
// factors in registers.
struct Divider {
    uint16_t first = 0;  // 0: no exact pair was found
    uint16_t second = 0;

    uint8_t operator()(uint16_t t) const { return static_cast<uint8_t>(mulHigh(mulHigh(t, first), second)); }
};

struct ExactDivision {
    Buffer quotient;  // quotient[T] = meanByte(T / n) for T in 0..255n
    Divider divider;
};

// The multiply-high form is taken only once it has been checked against
// the float quotient for every possible sum.
ExactDivision exactDivision(int32_t r) {
    ExactDivision d;
    const uint32_t n = 2 * static_cast<uint32_t>(r) + 1, maxSum = 255 * n;
    d.quotient = allocateBuffer(maxSum + 1);
    if (!d.quotient) return d;
    for (uint32_t t = 0; t <= maxSum; ++t) d.quotient[t] = meanByte(static_cast<float>(t) / static_cast<float>(n));
    // The second multiply-high is a right shift by `shift` that the
    // compiler cannot fold into the first one's shift by 16 (which would
    // cost the 16-bit lanes).
    for (int32_t shift = 1; shift < 16; ++shift) {
        const uint32_t m = ((1u << (16 + shift)) + n - 1) / n;
        if (m > 0xFFFF) break;
        const Divider candidate{static_cast<uint16_t>(m), static_cast<uint16_t>(1u << (16 - shift))};
        bool agrees = true;
        for (uint32_t t = 0; t <= maxSum && agrees; ++t) agrees = candidate(static_cast<uint16_t>(t)) == d.quotient[t];
        if (agrees) {
            d.divider = candidate;
            break;
        }
    }
    return d;
}

void meanLineExact(const uint8_t* line, int64_t len, int64_t r, uint8_t* out, const uint8_t* quotient) {
    int32_t s = 0;
    for (int64_t i = 0; i < r; ++i) s += line[i];
    int32_t running = 2 * s + line[r] - line[2 * r];
    for (int64_t x = 0; x < len; ++x) {
        const int32_t t = running + line[x + 2 * r];
        out[x] = quotient[t];
        running = t - line[x];
    }
}

// Two rows at once: their running sums are independent chains, which the
// processor overlaps.
void meanLinesExact2(const uint8_t* a, const uint8_t* b, int64_t len, int64_t r, uint8_t* outA, uint8_t* outB,
                     const uint8_t* quotient) {
    int32_t sa = 0, sb = 0;
    for (int64_t i = 0; i < r; ++i) sa += a[i], sb += b[i];
    int32_t ra = 2 * sa + a[r] - a[2 * r], rb = 2 * sb + b[r] - b[2 * r];
    for (int64_t x = 0; x < len; ++x) {
        const int32_t ta = ra + a[x + 2 * r], tb = rb + b[x + 2 * r];
        outA[x] = quotient[ta];
        outB[x] = quotient[tb];
        ra = ta - a[x];
        rb = tb - b[x];
    }
}

Status horizontalPass(int32_t r, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t w = src->width, h = src->height;
    const size_t lineBytes = static_cast<size_t>(w) + 2 * static_cast<size_t>(r);
    Buffer lines = allocateBuffer(2 * lineBytes);
    if (!lines) return Status::Refused;
    const ExactDivision exact = r <= kExactRadius ? exactDivision(r) : ExactDivision();
    if (r <= kExactRadius && !exact.quotient) return Status::Refused;
    auto fill = [&](uint8_t* line, int32_t y) {
        const uint8_t* in = src->data + static_cast<int64_t>(y) * w;
        fillMirrored(w, r, [&](int64_t d, int64_t i) { line[d] = in[i]; });
    };
    auto out = [&](int32_t y) { return dst->data + static_cast<int64_t>(y) * w; };
    uint8_t* a = lines.get();
    uint8_t* b = a + lineBytes;
    int32_t y = 0;
    if (exact.quotient)
        for (; y + 1 < h; y += 2) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            fill(a, y);
            if (abortRequested(abortFlag)) return Status::Aborted;
            fill(b, y + 1);
            meanLinesExact2(a, b, w, r, out(y), out(y + 1), exact.quotient.get());
        }
    for (; y < h; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        fill(a, y);
        if (exact.quotient)
            meanLineExact(a, w, r, out(y), exact.quotient.get());
        else
            meanLine(a, w, r, out(y));
    }
    return Status::Ok;
}

// One step of the column pass over a whole row: every column runs the
// steps of meanLine in its own lane. Lane is float (meanLine's own
// arithmetic) or uint16_t (exact sums, see kExactRadius); divide turns a
// window sum into the output byte.
template <class Lane, class Divide>
void columnStep(const uint8_t* __restrict enter, const uint8_t* __restrict leave, Lane* __restrict running,
                uint8_t* __restrict out, int32_t w, Divide divide) {
    auto step = [&](int32_t x) {
        const auto t = static_cast<Lane>(running[x] + enter[x]);
        out[x] = divide(t);
        running[x] = static_cast<Lane>(t - leave[x]);
    };
    // Blocks of a fixed width let the compiler vectorise without a
    // run-time trip count; the remainder goes one column at a time.
    constexpr int32_t kBlock = 64;
    int32_t x = 0;
    for (; x + kBlock <= w; x += kBlock)
        for (int32_t l = 0; l < kBlock; ++l) step(x + l);
    for (; x < w; ++x) step(x);
}

// The column pass walks the image row by row, all columns at once, so
// memory is read in order rather than down one column at a time. Rows of
// the mirrored column line L are kept in a ring of 2r+1 rows, copied before
// the pass overwrites them (src and dst may be the same image): L[i] sits
// in slot i mod (2r+1). The abort flag is polled once per output row.
template <class Lane, class Divide>
Status columnPass(int32_t r, const uint8_t* in, oxImage* dst, AbortFlag abortFlag, Divide divide) {
    const int64_t w = dst->width, h = dst->height, span = 2 * static_cast<int64_t>(r) + 1;
    const Count ringBytes = checkedProduct({span, w});
    if (!ringBytes) return Status::Refused;
    Buffer ring = allocateBuffer(static_cast<size_t>(*ringBytes));
    Buffer sums = allocateZeroed(static_cast<size_t>(w) * sizeof(Lane));
    if (!ring || !sums) return Status::Refused;
    auto slot = [&](int64_t i) { return ring.get() + (i % span) * w; };
    auto inRow = [&](int64_t y) { return in + y * w; };
    // L[0 .. 2r] are input rows r .. 1, 0 .. r.
    for (int64_t i = 0; i < span; ++i) std::memcpy(slot(i), inRow(i < r ? r - i : i - r), static_cast<size_t>(w));
    auto* running = reinterpret_cast<Lane*>(sums.get());
    for (int64_t i = 0; i < r; ++i)
        for (int64_t x = 0; x < w; ++x) running[x] = static_cast<Lane>(running[x] + slot(i)[x]);
    for (int64_t x = 0; x < w; ++x)
        running[x] = static_cast<Lane>(static_cast<Lane>(2 * running[x] + slot(r)[x]) - slot(2 * r)[x]);
    for (int64_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        const int64_t e = y + 2 * r;  // entering L index
        const uint8_t* enter = slot(e);
        if (y > 0 && y + r < h) {
            std::memcpy(slot(e), inRow(y + r), static_cast<size_t>(w));
        } else if (y > 0) {
            // Bottom mirror: L[e] is input row m = 2h-2-(e-r), whose own
            // L index r+m is still in the ring, unlike the (already
            // overwritten) row itself.
            enter = slot(r + 2 * h - 2 - (e - r));
        }
        columnStep<Lane>(enter, slot(y), running, dst->data + y * w, static_cast<int32_t>(w), divide);
    }
    return Status::Ok;
}

Status verticalPass(int32_t r, const uint8_t* in, oxImage* dst, AbortFlag abortFlag) {
    const ExactDivision exact = r <= kExactRadius ? exactDivision(r) : ExactDivision();
    if (r <= kExactRadius && !exact.quotient) return Status::Refused;
    if (exact.divider.first != 0) return columnPass<uint16_t>(r, in, dst, abortFlag, exact.divider);
    const float n = static_cast<float>(2 * static_cast<int64_t>(r) + 1);
    return columnPass<float>(r, in, dst, abortFlag, [=](float t) { return meanByte(t / n); });
}

Status blurPlane(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const uint8_t* in = src->data;
    if (p.radiusX >= 1) {
        if (const Status s = horizontalPass(p.radiusX, src, dst, abortFlag); s != Status::Ok) return s;
        in = dst->data;
    }
    if (p.radiusY >= 1) return verticalPass(p.radiusY, in, dst, abortFlag);
    return Status::Ok;
}

// Everything that would make the passes read or write outside the planes
// is refused before a byte is written.
bool planesFit(const oxBlurParams& p, const oxImage* src, const oxImage* dst) {
    return hasBuffer(src) && hasBuffer(dst) && src->width == dst->width && src->height == dst->height &&
           passFits(p.radiusX, src->width) && passFits(p.radiusY, src->height);
}

Status blur1C(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    // The passes read and write one byte per pixel, which the buffer of any
    // known type holds; an unknown type (element size 0) has no pixels.
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return Status::Refused;
    // Deliberate: with no pass to run nothing is written, not even a copy.
    if (p.radiusX < 1 && p.radiusY < 1) return Status::Ok;
    if (!planesFit(p, src, dst)) return Status::Refused;
    return blurPlane(p, src, dst, abortFlag);
}

Status blurOpt(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag, uint8_t* buffer) {
    if (oxImageHaveUncompatibleEncodings(src, dst)) return Status::Refused;
    if (channelCount(src->encoding) == 1) return blur1C(p, src, dst, abortFlag);
    // The channel copies move elements of the image's type into an 8-bit
    // plane; any other type would leave the plane unfilled.
    if (!buffer || src->type != OX_8U || dst->type != OX_8U || !planesFit(p, src, dst)) return Status::Refused;
    HeaderPtr plane = planeHeader(src->width, src->height, OX_8U, buffer);
    if (!plane) return Status::Refused;
    // Channels 1 to 3 only: a fourth (alpha) channel is deliberately left
    // as `dst` holds it.
    const int32_t r = forEachChannelPlane(src, dst, 3, plane.get(), plane.get(), [&](oxImage* in, oxImage* out) {
        return code(blur1C(p, in, out, abortFlag));
    });
    return static_cast<Status>(r);
}

uint64_t tempBytes(const oxImage* image) {
    if (channelCount(image->encoding) == 1 || image->width < 1 || image->height < 1) return 0;
    return sizeOrZero(checkedProduct({image->width, image->height}));
}

}  // namespace

extern "C" {

OX_API oxBlurParams* oxBlurParamsDefault(void) {
    auto* p = allocateRecord<oxBlurParams>();
    if (p) *p = {1, 1};
    return p;
}

OX_API void oxBlurParamsRelease(oxBlurParams** params) { releaseRecord(params); }

OX_API uint64_t oxBlurGetTempBufferSize(const oxImage* image) { return image ? tempBytes(image) : 0; }

OX_API int32_t oxBlurFilterOpt(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                               const volatile int32_t* abortFlag, void* buffer) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(blurOpt(*params, src, dst, abortFlag, static_cast<uint8_t*>(buffer)));
}

OX_API int32_t oxBlurFilter(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                            const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    // Zeroed, so that a plane the channel copy only partly fills (a source
    // ROI smaller than the image) holds no indeterminate bytes.
    return withScratch(tempBytes(src), true,
                       [&](uint8_t* buffer) { return code(blurOpt(*params, src, dst, abortFlag, buffer)); });
}

OX_API int32_t oxBlurFilter1C(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                              const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    // An image of an invalid encoding describes no buffer to read a plane
    // from (its row step is negative). The other forms refuse it through the
    // encoding check before they get here.
    if (!isValidEncoding(src->encoding) || !isValidEncoding(dst->encoding)) return code(Status::Refused);
    return code(blur1C(*params, src, dst, abortFlag));
}

}  // extern "C"
