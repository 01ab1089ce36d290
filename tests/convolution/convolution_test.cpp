#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

Kernel makeKernel(std::vector<float> x, std::vector<float> y, int32_t normalize = 0, int32_t border = OX_PAD_EXPAND) {
    Kernel k(
        oxSepKernelCreate(static_cast<int32_t>(x.size() / 2), static_cast<int32_t>(y.size() / 2), normalize, border));
    std::copy(x.begin(), x.end(), k->kernelX);
    std::copy(y.begin(), y.end(), k->kernelY);
    return k;
}

struct Passes {
    int32_t type;
    decltype(&oxApplySepKernelH) h, symmH;
    decltype(&oxApplySepKernelV) v;
    decltype(&oxApplySepKernelSymmV) symmV;
};
const Passes kPasses[] = {
    {OX_8U, oxApplySepKernelH, oxApplySepKernelSymmH, oxApplySepKernelV, oxApplySepKernelSymmV},
    {OX_32F, oxApplySepKernelH32F, oxApplySepKernelSymmH32F, oxApplySepKernelV32F, oxApplySepKernelSymmV32F},
    {OX_64F, oxApplySepKernelH64D, oxApplySepKernelSymmH64D, oxApplySepKernelV64D, oxApplySepKernelSymmV64D}};

std::vector<float> randomFloats(size_t n, std::mt19937& rng, float lo, float hi) {
    std::vector<float> v(n);
    for (float& f : v) f = std::uniform_real_distribution<float>(lo, hi)(rng);
    return v;
}

}  // namespace

TEST(ConvolutionBuffer, SizeRule) {
    const struct {
        int32_t w, encoding, type;
        uint64_t bytes;
    } cases[] = {{4, OX_GRAY, OX_64F, 96}, {4, OX_BGR, OX_8U, 108}, {4, OX_RGBA, OX_64F, 192},
                 {4, OX_RGB, OX_16U, 120}, {4, OX_BGR, 99, 96},     {0, OX_BGR, OX_8U, 0}};
    for (const auto& c : cases) {
        const oxImage img{c.type, c.encoding, 3, c.w, nullptr, {}, 0};
        EXPECT_EQ(oxSeparableConvolutionGetTempBufferSize(&img), c.bytes) << c.encoding << "/" << c.type;
    }
}

TEST(ConvolutionPasses, ByteConversionClampsTruncatesAndSendsNanToTheTop) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> column{-0.5f, 254.99f, 255.9f, 300.0f, nan};
    Kernel k = makeKernel({0, 1, 0}, {0, 1, 0});
    for (bool symmetric : {false, true}) {
        Image dst = make(1, 5, OX_GRAY);
        std::vector<float> scratch(5);
        const int32_t s = symmetric ? oxApplySepKernelSymmV(column.data(), scratch.data(), dst.get(), k.get())
                                    : oxApplySepKernelV(column.data(), dst.get(), k.get());
        ASSERT_EQ(s, 0);
        // Row 3 sums 0 * NaN into its total, so it is NaN as well.
        EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{0, 254, 255, 255, 255})) << symmetric;
    }
}

// The symmetric forms weigh both sides with the right half: on mirrored
// weights they give the general forms' bytes, on awkward lengths.
TEST(ConvolutionPasses, SymmetricFormsMatchTheGeneralOnesOnMirroredWeights) {
    std::mt19937 rng(11);
    std::vector<int32_t> lengths{1031};
    for (int32_t n = 1; n <= 17; ++n) lengths.push_back(n);
    for (const Passes& p : kPasses)
        for (int32_t border : {OX_PAD_EXPAND, OX_PAD_REFLECT})
            for (int32_t r : {1, 2, 3, 7})
                for (int32_t n : lengths) {
                    if (n < 2 * r + 1) continue;
                    SCOPED_TRACE(::testing::Message() << p.type << " border " << border << " r " << r << " n " << n);
                    std::vector<float> w = randomFloats(2 * r + 1, rng, -0.5f, 1.0f);
                    for (int32_t i = 0; i < r; ++i) w[2 * r - i] = w[i];
                    const size_t area = static_cast<size_t>(n) * 3;  // lines of n, three of them
                    Image src = noise(n, 3, OX_GRAY, p.type, n * 7 + r);
                    Image general = make(3, n, OX_GRAY, p.type), symm = make(3, n, OX_GRAY, p.type);
                    const std::vector<float> column = randomFloats(area, rng, -20.0f, 280.0f);
                    Kernel k = makeKernel(w, w, 0, border);
                    std::vector<float> hGen(area), hSym(area), scratch(area);
                    ASSERT_EQ(p.h(src.get(), hGen.data(), k.get()), 0);
                    ASSERT_EQ(p.v(column.data(), general.get(), k.get()), 0);
                    ASSERT_EQ(p.symmH(src.get(), hSym.data(), k.get()), 0);
                    ASSERT_EQ(p.symmV(column.data(), scratch.data(), symm.get(), k.get()), 0);
                    EXPECT_EQ(std::memcmp(hSym.data(), hGen.data(), area * sizeof(float)), 0);
                    EXPECT_EQ(bytesOf(symm.get()), bytesOf(general.get()));
                }
}

TEST(ConvolutionPasses, RefuseWhatCannotRunInsideTheLine) {
    Kernel k = makeKernel({1, 2, 3, 2, 1}, {1, 2, 1}), badBorder = makeKernel({1, 2, 1}, {1, 2, 1});
    badBorder->border = 2;
    Image narrow = make(4, 4, OX_GRAY), low = make(5, 2, OX_GRAY), ok = make(5, 3, OX_GRAY);
    Image floats = make(5, 3, OX_GRAY, OX_32F);
    std::vector<float> inter(20), scratch(20);
    const struct {
        const char* what;
        int32_t status;
    } cases[] = {
        {"line shorter than kernelX", oxApplySepKernelH(narrow.get(), inter.data(), k.get())},
        {"column shorter than kernelY", oxApplySepKernelSymmV(inter.data(), scratch.data(), low.get(), k.get())},
        {"wrong pixel type", oxApplySepKernelV64D(inter.data(), floats.get(), k.get())},
        {"null intermediate", oxApplySepKernelSymmH(ok.get(), nullptr, k.get())},
        {"null scratch", oxApplySepKernelSymmV32F(inter.data(), nullptr, floats.get(), k.get())},
        {"null image", oxApplySepKernelH32F(nullptr, inter.data(), k.get())},
        {"unknown border", oxApplySepKernelH(ok.get(), inter.data(), badBorder.get())}};
    for (const auto& c : cases) EXPECT_EQ(c.status, 1) << c.what;
}

TEST(ConvolutionFilter, RefusalsLeaveTheDestinationAlone) {
    Kernel g(oxSepKernelGaussian(2)), zeroSum = makeKernel({-1, 0, 1}, {1, 2, 1}, 1);
    const struct {
        const char* what;
        int32_t w, h, srcEnc, srcType, dstW, dstEnc, dstType;
        const oxSepKernel* kernel;
    } cases[] = {{"16-bit", 6, 6, OX_GRAY, OX_16U, 6, OX_GRAY, OX_16U, g.get()},
                 {"32S", 6, 6, OX_BGR, OX_32S, 6, OX_BGR, OX_32S, g.get()},
                 {"types differ", 6, 6, OX_GRAY, OX_64F, 6, OX_GRAY, OX_8U, g.get()},
                 {"sizes differ", 6, 6, OX_GRAY, OX_8U, 7, OX_GRAY, OX_8U, g.get()},
                 {"grey into colour", 6, 6, OX_GRAY, OX_8U, 6, OX_BGR, OX_8U, g.get()},
                 {"narrower than the kernel", 4, 6, OX_BGR, OX_8U, 4, OX_BGR, OX_8U, g.get()},
                 {"lower than the kernel", 6, 4, OX_GRAY, OX_32F, 6, OX_GRAY, OX_32F, g.get()},
                 {"kernel sums to 0", 6, 6, OX_BGR, OX_8U, 6, OX_BGR, OX_8U, zeroSum.get()},
                 {"no kernel", 6, 6, OX_BGR, OX_8U, 6, OX_BGR, OX_8U, nullptr}};
    for (const auto& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, c.srcType, 3), dst = noise(c.dstW, c.h, c.dstEnc, c.dstType, 4);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        EXPECT_EQ(oxSeparableConvolutionFilter(src.get(), dst.get(), c.kernel), 1) << c.what;
        EXPECT_EQ(bytesOf(dst.get()), before) << c.what;
    }
}

// The work buffer has exactly the advertised size (an access past it fails
// under the sanitizer); the destination starts as noise, so a kept alpha
// is in the hash.
TEST(ConvolutionFilter, GoldenOutputsWithTheCallersBuffer) {
    Kernel asym = makeKernel({1, 2, 3, 4, 5}, {1, 4, 6, 4, 1}, 1, OX_PAD_REFLECT);
    Kernel gauss(oxSepKernelGaussian(3));
    const struct {
        int32_t w, h, encoding, type;
        const oxSepKernel* kernel;
        uint64_t hash;
    } cases[] = {{37, 23, OX_BGR, OX_8U, gauss.get(), 6818921924897195480ull},
                 {37, 23, OX_GRAY, OX_8U, asym.get(), 13292530474425083608ull},
                 {17, 9, OX_RGB, OX_32F, asym.get(), 2809498962984272764ull},
                 {17, 9, OX_GRAY, OX_64F, gauss.get(), 1091743417387295629ull},
                 {1031, 7, OX_BGR, OX_64F, gauss.get(), 2096320975268197921ull},
                 {19, 11, OX_RGBA, OX_8U, gauss.get(), 10372939446318244239ull}};
    for (const auto& c : cases) {
        Image src = noise(c.w, c.h, c.encoding, c.type, 99), dst = noise(c.w, c.h, c.encoding, c.type, 98);
        std::vector<uint8_t> buffer(oxSeparableConvolutionGetTempBufferSize(src.get()));
        ASSERT_EQ(oxSeparableConvolutionFilterOpt(src.get(), dst.get(), c.kernel, buffer.data()), 0);
        EXPECT_EQ(hashImage(dst.get()), c.hash) << c.w << "x" << c.h << " type " << c.type;
    }
}

namespace {

// Float sources with values no photograph has: NaN, infinities, huge and
// negative samples, a negative zero.
void sprinkleSpecials(oxImage* img) {
    const double specials[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(), 1e30, -7.5, -0.0};
    const size_t n = byteCount(img) / static_cast<size_t>(ox::detail::elementSize(img->type));
    for (size_t i = 0, s = 0; i < n; i += 37, s = (s + 1) % 6)
        ox::detail::visitType(img->type, [&](auto tag) {
            using P = typename decltype(tag)::type;
            const P v = static_cast<P>(specials[s]);
            std::memcpy(img->data + i * sizeof(P), &v, sizeof v);
        });
}

// The image's bytes with every NaN written as one quiet NaN: which NaN a
// sum of two NaNs keeps depends on the processor and on the order the
// compiler gives the operands, so only NaN-ness is pinned.
std::vector<uint8_t> bytesWithOneNan(const oxImage* img) {
    std::vector<uint8_t> bytes = bytesOf(img);
    auto canonical = [&](auto nan) {
        using F = decltype(nan);
        for (size_t i = 0; i + sizeof(F) <= bytes.size(); i += sizeof(F)) {
            F v;
            std::memcpy(&v, &bytes[i], sizeof v);
            if (std::isnan(v)) std::memcpy(&bytes[i], &nan, sizeof nan);
        }
    };
    if (img->type == OX_32F) canonical(std::numeric_limits<float>::quiet_NaN());
    if (img->type == OX_64F) canonical(std::numeric_limits<double>::quiet_NaN());
    return bytes;
}

}  // namespace

// Each row hashes the outputs of several sizes and kernels (out of place,
// and in place where the encodings agree) for one pair of encodings and one
// pixel type. Channels are matched by number, so a source and destination
// of different encodings swap them; a fourth channel of dst keeps its values.
TEST(ConvolutionFilter, PinnedAcrossEncodingsAndTypes) {
    Kernel gauss1(oxSepKernelGaussian(1)), gauss3(oxSepKernelGaussian(3));
    Kernel asym = makeKernel({-0.75f, 0.5f, 1.25f, 0.25f, 0.125f}, {0.5f, -0.25f, 1.0f}, 0, OX_PAD_REFLECT);
    Kernel wild = makeKernel({-300.0f, 2.0f, 300.0f}, {1e30f, 1.0f, 1e30f});
    const oxSepKernel* kernels[] = {gauss1.get(), gauss3.get(), asym.get(), wild.get()};
    const struct {
        int32_t w, h;
    } sizes[] = {{7, 7}, {23, 13}, {1031, 7}, {9, 40}};
    const struct {
        int32_t srcEnc, dstEnc, type;
        uint64_t hash;
    } rows[] = {
        {OX_GRAY, OX_GRAY, OX_8U, 15708680584663550862ull},
        {OX_GRAY, OX_GRAY, OX_32F, 5937774389574137209ull},
        {OX_GRAY, OX_GRAY, OX_64F, 1886700353863763327ull},
        {OX_BGR, OX_BGR, OX_8U, 7040572232704109065ull},
        {OX_BGR, OX_BGR, OX_32F, 10829928112357172570ull},
        {OX_BGR, OX_BGR, OX_64F, 198298424838851354ull},
        {OX_RGB, OX_RGB, OX_8U, 7040572232704109065ull},
        {OX_RGB, OX_RGB, OX_32F, 10829928112357172570ull},
        {OX_RGBA, OX_RGBA, OX_8U, 2111470093178429995ull},
        {OX_RGBA, OX_RGBA, OX_64F, 8556424029286566612ull},
        {OX_ARGB, OX_ARGB, OX_8U, 2248039251287482160ull},
        {OX_ARGB, OX_BGR, OX_8U, 5872856814808427464ull},
        {OX_BGR, OX_RGBA, OX_32F, 6716383315656106243ull},
        {OX_RGB, OX_BGR, OX_8U, 2309137846392965854ull}};
    for (const auto& row : rows) {
        std::vector<uint8_t> all;
        uint32_t seed = 1;
        for (const auto& s : sizes)
            for (const oxSepKernel* k : kernels)
                for (bool inPlace : {false, true}) {
                    if (inPlace && row.srcEnc != row.dstEnc) continue;
                    Image src = noise(s.w, s.h, row.srcEnc, row.type, ++seed);
                    Image dst = noise(s.w, s.h, row.dstEnc, row.type, ++seed);
                    if (row.type != OX_8U) sprinkleSpecials(src.get());
                    oxImage* out = inPlace ? src.get() : dst.get();
                    ASSERT_EQ(oxSeparableConvolutionFilter(src.get(), out, k), 0);
                    const std::vector<uint8_t> bytes = bytesWithOneNan(out);
                    all.insert(all.end(), bytes.begin(), bytes.end());
                }
        EXPECT_EQ(hashBytes(all.data(), all.size()), row.hash)
            << "encodings " << row.srcEnc << " -> " << row.dstEnc << ", type " << row.type;
    }
}

// Colour images travel channel by channel through the plane at the start of
// the work buffer, whose extraction and insertion walk ROIs: a source ROI
// smaller than the image fills only part of the plane (the rest keeps what
// the buffer held), a destination ROI that cannot take a whole plane is
// left alone, and a grey image ignores its ROI. Headers that share pixels
// see the channels already written. All deliberate: hosts depend on it.
TEST(ConvolutionFilter, PinnedRoisAndSharedPixels) {
    Kernel k = makeKernel({0.25f, 0.5f, 0.125f}, {0.5f, 0.25f, 0.0f, 0.25f, 0.125f}, 0, OX_PAD_REFLECT);
    constexpr int32_t w = 20, h = 15;
    const struct {
        const char* what;
        int32_t encoding;
        oxRect srcRoi, dstRoi;
        uint64_t hash;
    } rois[] = {{"source ROI inside", OX_BGR, {2, 1, 14, 11}, {0, 0, w, h}, 4681043065247899988ull},
                {"destination ROI inside", OX_RGBA, {0, 0, w, h}, {1, 2, 18, 12}, 8083113246000008140ull},
                {"destination ROI of fewer rows", OX_BGR, {0, 0, w, h}, {0, 0, w, 9}, 6146593500992980403ull},
                {"grey with ROIs", OX_GRAY, {3, 2, 5, 5}, {1, 1, 2, 2}, 16224009232100165543ull}};
    for (const auto& c : rois) {
        Image src = noise(w, h, c.encoding, OX_8U, 21), dst = noise(w, h, c.encoding, OX_8U, 22);
        oxImageSetROI(src.get(), &c.srcRoi);
        oxImageSetROI(dst.get(), &c.dstRoi);
        std::vector<uint8_t> buffer(oxSeparableConvolutionGetTempBufferSize(src.get()), 0);
        ASSERT_EQ(oxSeparableConvolutionFilterOpt(src.get(), dst.get(), k.get(), buffer.data()), 0) << c.what;
        EXPECT_EQ(hashImage(dst.get()), c.hash) << c.what;
    }
    // One buffer seen as RGB by the source and BGR by the destination, and
    // a destination one pixel further on in the same buffer.
    const struct {
        const char* what;
        int32_t dstEnc;
        size_t dstOffset;
        uint64_t hash;
    } shared[] = {{"swapped channels", OX_BGR, 0, 10843899846839058845ull},
                  {"shifted by a pixel", OX_RGB, 3, 9353749744265207902ull}};
    for (const auto& c : shared) {
        std::vector<uint8_t> pixels(static_cast<size_t>(w) * h * 3 + 3);
        Image src = noise(w, h, OX_RGB, OX_8U, 23);
        std::copy(src->data, src->data + static_cast<size_t>(w) * h * 3, pixels.begin());
        oxImage* in = oxImageCreateHeader(w, h, OX_RGB);
        oxImage* out = oxImageCreateHeader(w, h, c.dstEnc);
        in->data = pixels.data();
        out->data = pixels.data() + c.dstOffset;
        EXPECT_EQ(oxSeparableConvolutionFilter(in, out, k.get()), 0) << c.what;
        EXPECT_EQ(hashBytes(pixels.data(), pixels.size()), c.hash) << c.what;
        oxImageReleaseHeader(&in);
        oxImageReleaseHeader(&out);
    }
}
