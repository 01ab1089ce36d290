// Box blur through its three forms with fuzzed radii, sizes, types,
// encodings and ROIs (inside the images, as every caller keeps them), in
// place or not, with and without an abort flag. Beyond staying inside the
// buffers, an 8-bit one-channel blur must give the bytes of the plain
// running-sum reference below, which the fast passes are built to match.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_blur.h"

using namespace oxfuzz;

namespace {

// The reference line pass: a float running sum over the line mirrored
// without repeating its edge sample, divided by 2r+1 and truncated.
void meanLine(const std::vector<uint8_t>& in, int64_t r, std::vector<uint8_t>& out) {
    const int64_t len = static_cast<int64_t>(in.size());
    std::vector<uint8_t> line(static_cast<size_t>(len + 2 * r));
    for (int64_t i = 0; i < r; ++i) line[i] = in[r - i];
    for (int64_t i = 0; i < len; ++i) line[r + i] = in[i];
    for (int64_t j = 0; j < r; ++j) line[r + len + j] = in[len - 2 - j];
    const float n = static_cast<float>(2 * r + 1);
    float s = 0.0f;
    for (int64_t i = 0; i < r; ++i) s += line[i];
    float running = 2.0f * s + line[r] - line[2 * r];
    out.resize(static_cast<size_t>(len));
    for (int64_t x = 0; x < len; ++x) {
        const float t = running + line[x + 2 * r];
        out[x] = static_cast<uint8_t>(static_cast<int32_t>(std::min(255.0f, std::max(0.0f, t / n))));
        running = t - line[x];
    }
}

std::vector<uint8_t> referenceBlur(const oxBlurParams& p, const std::vector<uint8_t>& src, int32_t w, int32_t h) {
    std::vector<uint8_t> img(src.begin(), src.begin() + int64_t{w} * h), line, out;
    if (p.radiusX >= 1)
        for (int32_t y = 0; y < h; ++y) {
            line.assign(img.begin() + int64_t{y} * w, img.begin() + int64_t{y + 1} * w);
            meanLine(line, p.radiusX, out);
            std::copy(out.begin(), out.end(), img.begin() + int64_t{y} * w);
        }
    if (p.radiusY >= 1)
        for (int32_t x = 0; x < w; ++x) {
            line.resize(h);
            for (int32_t y = 0; y < h; ++y) line[y] = img[int64_t{y} * w + x];
            meanLine(line, p.radiusY, out);
            for (int32_t y = 0; y < h; ++y) img[int64_t{y} * w + x] = out[y];
        }
    return img;
}

int32_t radius(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 7)) {
    case 0: return in.ConsumeIntegral<int32_t>();
    case 1: return in.ConsumeIntegralInRange<int32_t>(100, 2100);  // past the exact integer passes
    default: return in.ConsumeIntegralInRange<int32_t>(-1, 20);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const oxBlurParams params{radius(in), radius(in)};
    const int32_t form = in.ConsumeIntegralInRange<int32_t>(0, 2);
    const bool inPlace = in.ConsumeBool();
    const AbortFlag abort{in.ConsumeIntegralInRange<int32_t>(-1, 1)};
    if (verbose())
        std::fprintf(stderr, "radii %d %d, form %d, in place %d, abort %d\n", params.radiusX, params.radiusY, form, inPlace,
                     abort.value);
    std::vector<uint8_t> choices = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(choices.data(), choices.size());

    ImageChoice choice;
    choice.anyRoiAllowed = false;
    OwnedImage src, other;
    if (!fuzzImage(p, src, choice, fill)) return 0;
    oxImage* dst = fuzzDestination(p, inPlace, src, other, choice);
    if (!dst) return 0;
    const std::vector<uint8_t> before = snapshot(src);

    int32_t status = 0;
    switch (form) {
    case 0: status = oxBlurFilter(&params, src.get(), dst, abort.get()); break;
    case 1: {
        Scratch scratch(oxBlurGetTempBufferSize(src.get()));
        if (!scratch.p) return 0;
        status = oxBlurFilterOpt(&params, src.get(), dst, abort.get(), scratch.p);
        break;
    }
    default: status = oxBlurFilter1C(&params, src.get(), dst, abort.get()); break;
    }
    OXFUZZ_CHECK(status == 0 || status == 1 || status == 2);
    if (!inPlace) OXFUZZ_CHECK(unchanged(src, before));

    const bool plain8 = src->type == OX_8U && dst->type == OX_8U && channels(src->encoding) == 1 &&
                        channels(dst->encoding) == 1 && form != 2;
    if (status == 0 && (plain8 || form == 2) && (params.radiusX >= 1 || params.radiusY >= 1) &&
        dst->width == src->width && dst->height == src->height && src->width > 0 && src->height > 0) {
        const std::vector<uint8_t> expected = referenceBlur(params, before, src->width, src->height);
        OXFUZZ_CHECK(std::equal(expected.begin(), expected.end(), dst->data));
    }
    return 0;
}
