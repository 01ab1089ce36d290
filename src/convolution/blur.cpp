// Box blur: running-sum means along rows, then along columns, over 8-bit
// planes and interleaved colour with mirrored borders.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "convolution/detail/blur_kernels.hpp"
#include "convolution/detail/blur_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/size.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_blur.h"

namespace ox::detail {

namespace {

// The mean is known to lie in 0..255 (NaN cannot occur); min/max instead of
// clampToByte's branches lets the loops vectorise, with the same bytes.
inline uint8_t meanByte(float mean) {
    return static_cast<uint8_t>(static_cast<int32_t>(std::min(255.0f, std::max(0.0f, mean))));
}

// ---- Reference: the plain running mean, channel by channel ----------------

// Running mean over a mirrored line: output x is the float sum of
// line[x .. x+2r] divided by 2r+1, truncated. The left half of the first
// window mirrors its right half, hence 2*S + centre. Every other form of the
// passes gives the same bytes as this one.
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

// Mirrored line positions: copy(d, s) puts sample s at line position d,
// giving sample(r) .. sample(1), sample(0) .. sample(len-1),
// sample(len-2) .. sample(len-1-r): the mirror without repeating the edge.
template <class Copy> void fillMirrored(int64_t len, int64_t r, Copy copy) {
    for (int64_t i = 0; i < r; ++i) copy(i, r - i);
    for (int64_t i = 0; i < len; ++i) copy(r + i, i);
    for (int64_t j = 0; j < r; ++j) copy(r + len + j, len - 2 - j);
}

// One channel of a view: sample (x, y) at base[y * row + x * step].
struct Samples {
    uint8_t* base;
    int64_t step, row;
    uint8_t& operator()(int64_t x, int64_t y) const { return base[y * row + x * step]; }
};

template <class T> Samples samplesOf(View<T> v, int32_t offset) {
    return {const_cast<uint8_t*>(v.data) + offset, v.channels, v.stride};
}

// The whole blur of one channel, a row pass and then a column pass, each
// line copied out before it is overwritten (src may be dst).
Status referenceChannel(Samples in, Samples out, int64_t w, int64_t h, int32_t rx, int32_t ry,
                        AbortFlag abortFlag) {
    if (rx >= 1) {
        Buffer line = allocateBuffer(static_cast<size_t>(w + 2 * rx + w));
        if (!line) return Status::Refused;
        uint8_t* means = line.get() + w + 2 * rx;
        for (int64_t y = 0; y < h; ++y) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            fillMirrored(w, rx, [&](int64_t d, int64_t s) { line[d] = in(s, y); });
            meanLine(line.get(), w, rx, means);
            for (int64_t x = 0; x < w; ++x) out(x, y) = means[x];
        }
        in = out;
    }
    if (ry >= 1) {
        Buffer line = allocateBuffer(static_cast<size_t>(h + 2 * ry + h));
        if (!line) return Status::Refused;
        uint8_t* means = line.get() + h + 2 * ry;
        for (int64_t x = 0; x < w; ++x) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            fillMirrored(h, ry, [&](int64_t d, int64_t s) { line[d] = in(x, s); });
            meanLine(line.get(), h, ry, means);
            for (int64_t y = 0; y < h; ++y) out(x, y) = means[y];
        }
    }
    return Status::Ok;
}

// ---- Portable and AVX2 forms: one walk over rows for both passes ----------

// The float quotient of every window sum a radius up to kBoxExactRadius can
// produce, and the multiply-high pair that gives the same bytes when there
// is one.
struct Division {
    Buffer quotient;  // quotient[T] = meanByte(T / n) for T in 0..255n
    BoxDivider divider;
};

Division exactDivision(int32_t r) {
    Division d;
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
        const BoxDivider candidate{static_cast<uint16_t>(m), static_cast<uint16_t>(1u << (16 - shift))};
        bool agrees = true;
        for (uint32_t t = 0; t <= maxSum && agrees; ++t) agrees = candidate(static_cast<uint16_t>(t)) == d.quotient[t];
        if (agrees) {
            d.divider = candidate;
            break;
        }
    }
    return d;
}

// How one pass turns a window sum into a byte: the quotient table for the
// radii whose sums fit 16 bits (integer sums), the float running sum of the
// reference otherwise.
struct PassDivision {
    Division exact;
    float n = 1.0f;
    bool usable = true;  // false: the table could not be allocated

    explicit PassDivision(int32_t r) : n(static_cast<float>(2 * static_cast<int64_t>(r) + 1)) {
        if (r >= 1 && r <= kBoxExactRadius) {
            exact = exactDivision(r);
            usable = exact.quotient != nullptr;
        }
    }
    uint8_t operator()(int32_t t) const { return exact.quotient[t]; }
};

// Window means along a mirrored line of `w` pixels of S interleaved samples,
// each sample with its own running sum in integers. A plane runs its row as
// two halves side by side, so that two independent sums overlap.
// The running mean in float, sample by sample in the order of meanLine:
// past kBoxExactRadius a window can hold sums beyond 2^24, where only this
// order gives the reference's roundings.
template <int S> void rowMeansFloat(const uint8_t* line, int64_t w, int64_t r, float n, uint8_t* out) {
    for (int32_t c = 0; c < S; ++c) {
        float s = 0.0f;
        for (int64_t i = 0; i < r; ++i) s += line[i * S + c];
        float running = 2.0f * s + line[r * S + c] - line[2 * r * S + c];
        for (int64_t x = 0; x < w; ++x) {
            const float t = running + line[(x + 2 * r) * S + c];
            out[x * S + c] = meanByte(t / n);
            running = t - line[x * S + c];
        }
    }
}

template <int S>
void rowMeansPortable(const uint8_t* line, int64_t w, int64_t r, const PassDivision& div, uint8_t* out) {
    if (!div.exact.quotient) return rowMeansFloat<S>(line, w, r, div.n, out);
    const int64_t ahead = 2 * r * S;
    auto runFrom = [&](int64_t i) {  // W[i] - line[i + ahead]: the sum before the step to i
        int32_t s = 0;
        for (int64_t k = 0; k < 2 * r; ++k) s += line[i + k * S];
        return s;
    };
    if constexpr (S == 1) {
        const int64_t half = w >= 64 ? w / 2 : w;
        int32_t a = runFrom(0), b = runFrom(half);
        int64_t x = 0;
        for (; x < w - half; ++x) {
            const int32_t ta = a + line[x + ahead], tb = b + line[half + x + ahead];
            out[x] = div(ta);
            out[half + x] = div(tb);
            a = ta - line[x];
            b = tb - line[half + x];
        }
        for (; x < half; ++x) {
            const int32_t t = a + line[x + ahead];
            out[x] = div(t);
            a = t - line[x];
        }
    } else {
        int32_t run[S];
        for (int32_t c = 0; c < S; ++c) run[c] = runFrom(c);
        for (int64_t i = 0; i < w * S; i += S)
            for (int32_t c = 0; c < S; ++c) {
                const int32_t t = run[c] + line[i + c + ahead];
                out[i + c] = div(t);
                run[c] = t - line[i + c];
            }
    }
}

// One step of the column pass over a whole row: every column runs the
// steps of the running mean in its own lane, in 16-bit integers where the
// divider exists, in float otherwise (exact sums either way).
template <class Lane, class Divide>
void columnStep(const uint8_t* __restrict enter, const uint8_t* __restrict leave, Lane* __restrict running,
                uint8_t* __restrict out, int64_t count, Divide divide) {
    auto step = [&](int64_t x) {
        const auto t = static_cast<Lane>(running[x] + enter[x]);
        out[x] = divide(t);
        running[x] = static_cast<Lane>(t - leave[x]);
    };
    // Blocks of a fixed width let the compiler vectorise without a
    // run-time trip count; the remainder goes one column at a time.
    constexpr int64_t kBlock = 64;
    int64_t x = 0;
    for (; x + kBlock <= count; x += kBlock)
        for (int64_t l = 0; l < kBlock; ++l) step(x + l);
    for (; x < count; ++x) step(x);
}

// Padding behind every line and ring buffer: the AVX2 loops read whole
// 16-byte blocks past the last sample they use.
constexpr int64_t kPad = 32;

Buffer allocateBytes(std::initializer_list<int64_t> factors) {
    const Count n = checkedProduct(factors);
    const Count padded = n ? checkedSum({*n, kPad}) : std::nullopt;
    return padded ? allocateZeroed(static_cast<size_t>(*padded)) : Buffer();
}

// Both passes in one walk down the rows. Rows are packed runs of w pixels of
// S samples: gather(y, into) writes row y of the source in that form, and
// the sink says where output row y goes (outRow) and moves it into the
// destination when it is not there yet (flush). The row pass fills a ring
// of the 2r + 1 rows the column pass needs, L[i] in slot i mod (2r + 1),
// where L is the mirrored column line: L[i] = row r - i above the top,
// row i - r inside, row 2h - 2 - (i - r) below the bottom. Output row y is
// written once rows up to y + r are read, so src may be dst.
template <int S, class Gather, class Sink>
Status blurRows(int64_t w, int64_t h, int32_t rx, int32_t ry, Gather&& gather, Sink&& sink, AbortFlag abortFlag) {
    const int64_t count = w * S;
    const bool avx2 = useAvx2();
    const PassDivision hDiv(rx), vDiv(ry);
    if (!hDiv.usable || !vDiv.usable) return Status::Refused;
    Buffer line = rx >= 1 ? allocateBytes({w + 2 * static_cast<int64_t>(rx), S}) : Buffer();
    Buffer spare = allocateBytes({count});
    if ((rx >= 1 && !line) || !spare) return Status::Refused;

    auto rowPass = [&](int64_t y, uint8_t* out) {
        if (rx < 1) {
            gather(y, out);
            return;
        }
        uint8_t* row = line.get() + static_cast<int64_t>(rx) * S;
        gather(y, row);
        for (int64_t i = 0; i < rx; ++i) std::memcpy(line.get() + i * S, row + (rx - i) * S, S);
        for (int64_t j = 0; j < rx; ++j) std::memcpy(row + (w + j) * S, row + (w - 2 - j) * S, S);
#if OX_HAVE_AVX2_PATH
        if (avx2 && hDiv.exact.divider) {
            boxRowMeansAvx2(line.get(), count, rx, S, hDiv.exact.divider, out);
            return;
        }
#endif
        rowMeansPortable<S>(line.get(), w, rx, hDiv, out);
    };

    if (ry < 1) {
        for (int64_t y = 0; y < h; ++y) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            uint8_t* out = sink.outRow(y, spare.get());
            rowPass(y, out);
            sink.flush(y, out);
        }
        return Status::Ok;
    }

    const int64_t r = ry, span = 2 * r + 1;
    Buffer ring = allocateBytes({span, count});
    const bool integerLanes = static_cast<bool>(vDiv.exact.divider);
    Buffer sums = allocateBytes({count, integerLanes ? int64_t{sizeof(uint16_t)} : int64_t{sizeof(float)}});
    if (!ring || !sums) return Status::Refused;
    auto slot = [&](int64_t i) { return ring.get() + (i % span) * count; };
    if (abortRequested(abortFlag)) return Status::Aborted;
    for (int64_t y = 0; y <= r; ++y) rowPass(y, slot(r + y));
    for (int64_t k = 1; k <= r; ++k) std::memcpy(slot(r - k), slot(r + k), static_cast<size_t>(count));

    auto run = [&](auto* running, auto step) {
        using Lane = std::remove_pointer_t<decltype(running)>;
        for (int64_t i = 0; i < r; ++i)
            for (int64_t x = 0; x < count; ++x) running[x] = static_cast<Lane>(running[x] + slot(i)[x]);
        for (int64_t x = 0; x < count; ++x)
            running[x] = static_cast<Lane>(static_cast<Lane>(2 * running[x] + slot(r)[x]) - slot(2 * r)[x]);
        for (int64_t y = 0; y < h; ++y) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            const int64_t e = y + 2 * r;  // entering L index
            const uint8_t* enter = slot(e);
            if (y > 0 && y + r < h)
                rowPass(y + r, slot(e));
            else if (y > 0)
                enter = slot(2 * r + 2 * h - 2 - e);  // still in the ring, unlike the row itself
            uint8_t* out = sink.outRow(y, spare.get());
            step(enter, slot(y), running, out);
            sink.flush(y, out);
        }
        return Status::Ok;
    };
    if (!integerLanes) {
        const float n = vDiv.n;
        return run(reinterpret_cast<float*>(sums.get()), [&](const uint8_t* in, const uint8_t* out, float* lanes,
                                                             uint8_t* to) {
            columnStep<float>(in, out, lanes, to, count, [=](float t) { return meanByte(t / n); });
        });
    }
    const BoxDivider divider = vDiv.exact.divider;
    return run(reinterpret_cast<uint16_t*>(sums.get()),
               [&](const uint8_t* in, const uint8_t* out, uint16_t* lanes, uint8_t* to) {
#if OX_HAVE_AVX2_PATH
                   if (avx2) return boxColumnStepAvx2(in, out, lanes, to, count, divider);
#endif
                   columnStep<uint16_t>(in, out, lanes, to, count, divider);
               });
}

// Where output rows go when they can be written in place: straight into
// the destination's row.
struct DirectRows {
    View<uint8_t> dst;
    uint8_t* outRow(int64_t y, uint8_t*) const { return dst.row(y); }
    void flush(int64_t, const uint8_t*) const {}
};

bool sameOffsets(ChannelOffsets a, ChannelOffsets b) {
    return a.at[0] == b.at[0] && a.at[1] == b.at[1] && a.at[2] == b.at[2];
}

}  // namespace

Status boxBlurPlane(ConstView<uint8_t> src, View<uint8_t> dst, int32_t radiusX, int32_t radiusY,
                    AbortFlag abortFlag) noexcept {
    if (radiusX < 1 && radiusY < 1) return Status::Ok;  // deliberately no copy
    if (useReference())
        return referenceChannel(samplesOf(src, 0), samplesOf(dst, 0), src.width, src.height, radiusX, radiusY,
                                abortFlag);
    const auto gather = [&](int64_t y, uint8_t* into) { std::memcpy(into, src.row(y), static_cast<size_t>(src.width)); };
    return blurRows<1>(src.width, src.height, radiusX, radiusY, gather, DirectRows{dst}, abortFlag);
}

Status boxBlurColour(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                     int32_t radiusX, int32_t radiusY, AbortFlag abortFlag) noexcept {
    if (useReference()) {
        for (int32_t c = 0; c < 3; ++c) {
            const Samples in = samplesOf(src, from.at[c]), out = samplesOf(dst, to.at[c]);
            if (radiusX < 1 && radiusY < 1)
                for (int64_t y = 0; y < src.height; ++y)
                    for (int64_t x = 0; x < src.width; ++x) out(x, y) = in(x, y);
            if (const Status s = referenceChannel(in, out, src.width, src.height, radiusX, radiusY, abortFlag);
                s != Status::Ok)
                return s;
        }
        return Status::Ok;
    }
    // Rows in between are packed three samples a pixel: in the source's own
    // order for a three-channel source (a plain copy), channels 1-3 for four.
    const int64_t w = src.width;
    const ChannelOffsets packed = src.channels == 3 ? from : ChannelOffsets{{0, 1, 2}};
    const auto gather = [&](int64_t y, uint8_t* into) {
        const uint8_t* s = src.row(y);
        if (src.channels == 3) {
            std::memcpy(into, s, static_cast<size_t>(w * 3));
            return;
        }
        for (int64_t x = 0; x < w; ++x, s += 4, into += 3) {
            into[0] = s[from.at[0]];
            into[1] = s[from.at[1]];
            into[2] = s[from.at[2]];
        }
    };
    if (dst.channels == 3 && sameOffsets(to, packed))
        return blurRows<3>(w, src.height, radiusX, radiusY, gather, DirectRows{dst}, abortFlag);
    // Scattered into the destination's own positions; its other bytes stay.
    struct Scatter {
        View<uint8_t> dst;
        ChannelOffsets packed, to;
        uint8_t* outRow(int64_t, uint8_t* spare) const { return spare; }
        void flush(int64_t y, const uint8_t* row) const {
            uint8_t* d = dst.row(y);
            for (int64_t x = 0; x < dst.width; ++x, d += dst.channels, row += 3) {
                d[to.at[0]] = row[packed.at[0]];
                d[to.at[1]] = row[packed.at[1]];
                d[to.at[2]] = row[packed.at[2]];
            }
        }
    };
    return blurRows<3>(w, src.height, radiusX, radiusY, gather, Scatter{dst, packed, to}, abortFlag);
}

}  // namespace ox::detail

using namespace ox::detail;

namespace {

// Everything that would make the passes read or write outside the planes
// is refused before a byte is written.
bool planesFit(const oxBlurParams& p, const oxImage* src, const oxImage* dst) {
    return hasBuffer(src) && hasBuffer(dst) && src->width == dst->width && src->height == dst->height &&
           boxBlurFits(p.radiusX, p.radiusY, src->width, src->height);
}

// A plane of width x height bytes from the first byte of the buffer, whatever
// the encoding and type (the checks have made sure the buffer holds it).
View<uint8_t> planeOf(const oxImage* img) {
    return {img->data, img->width, img->height, 1, static_cast<int64_t>(img->width)};
}

Status blur1C(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    // The passes read and write one byte per pixel, which the buffer of any
    // known type holds; an unknown type (element size 0) has no pixels.
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return Status::Refused;
    // Deliberate: with no pass to run nothing is written, not even a copy.
    if (p.radiusX < 1 && p.radiusY < 1) return Status::Ok;
    if (!planesFit(p, src, dst)) return Status::Refused;
    return boxBlurPlane(planeOf(src), planeOf(dst), p.radiusX, p.radiusY, abortFlag);
}

bool overlaps(const oxImage* a, const oxImage* b) {
    const uint8_t* aEnd = a->data + *bufferBytes(a);
    const uint8_t* bEnd = b->data + *bufferBytes(b);
    return a->data < bEnd && b->data < aEnd;
}

// The channel planes walk the source's ROI into the plane and the whole
// plane back at the destination's ROI; with ROIs that cover both images that
// is the interleaved blur of the whole image, which needs no plane. Other
// ROIs, and two layouts over one buffer, keep the planes.
bool interleavedBlurApplies(const oxImage* src, const oxImage* dst) {
    if (!roiIsWhole(src) || !roiIsWhole(dst)) return false;
    return !overlaps(src, dst) || (src->data == dst->data && src->encoding == dst->encoding);
}

// The checks of a colour blur that precede the choice of the form.
bool colourFits(const oxBlurParams& p, const oxImage* src, const oxImage* dst) {
    // The channel copies move elements of the image's type into an 8-bit
    // plane; any other type would leave the plane unfilled.
    return src->type == OX_8U && dst->type == OX_8U && planesFit(p, src, dst);
}

Status blurOpt(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag, uint8_t* buffer) {
    if (oxImageHaveUncompatibleEncodings(src, dst)) return Status::Refused;
    if (channelCount(src->encoding) == 1) return blur1C(p, src, dst, abortFlag);
    if (!buffer || !colourFits(p, src, dst)) return Status::Refused;
    // Channels 1 to 3 only: a fourth (alpha) channel is deliberately left
    // as `dst` holds it.
    if (interleavedBlurApplies(src, dst))
        return boxBlurColour(wholeView<uint8_t>(src), channelOffsets(src), wholeView<uint8_t>(dst),
                             channelOffsets(dst), p.radiusX, p.radiusY, abortFlag);
    HeaderPtr plane = planeHeader(src->width, src->height, OX_8U, buffer);
    if (!plane) return Status::Refused;
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
    // A colour blur that needs no plane allocates none (a plane buffer is
    // only ever asked of a non-empty image).
    if (!oxImageHaveUncompatibleEncodings(src, dst) && channelCount(src->encoding) > 1 && tempBytes(src) > 0 &&
        colourFits(*params, src, dst) && interleavedBlurApplies(src, dst))
        return code(boxBlurColour(wholeView<uint8_t>(src), channelOffsets(src), wholeView<uint8_t>(dst),
                                  channelOffsets(dst), params->radiusX, params->radiusY, abortFlag));
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
