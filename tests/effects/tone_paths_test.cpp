// The tone stages' brightness rows and whole stage outputs on every
// instruction-set path, byte for byte against the reference: awkward
// widths, every colour layout, in place and into another encoding.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "effects/detail/tone_kernels.hpp"
#include "support/paths.hpp"
#include "support/test_support.hpp"

using namespace oxtest;
using namespace ox::detail;

TEST(TonePaths, BrightnessRowsMatchThePlainMaximum) {
    const std::pair<int32_t, ChannelOffsets> layouts[] = {
        {3, {{0, 1, 2}}}, {3, {{2, 1, 0}}}, {4, {{3, 2, 1}}}, {4, {{2, 1, 0}}}};
    for (const auto& [channels, at] : layouts)
        for (int32_t w : awkwardWidths())
            expectSameOnEveryPath(std::to_string(channels) + " channels, w" + std::to_string(w), [&] {
                std::mt19937 rng(static_cast<uint32_t>(w));
                std::vector<uint8_t> row(size_t(w) * channels), out(size_t(w), 7);
                for (uint8_t& b : row) b = static_cast<uint8_t>(rng());
                brightnessRow(row.data(), channels, at, w, out.data());
                return out;
            });
}

// The three statistics-driven stages end to end, so that the fast
// layouts of their table lookups are held to the reference too.
TEST(TonePaths, StageFiltersMatchTheReference) {
    static const oxContrastEnhanceParams contrast{9.0f, 4.0f, 0, 255, 0};
    static const oxTransferEnhanceParams transfer{0.3f, 1.4f, 7};
    for (int32_t srcEnc : {OX_BGR, OX_RGB, OX_RGBA})
        for (int32_t dstEnc : {OX_BGR, OX_ARGB})
            for (int32_t w : {8, 17, 33, 1031})
                for (int32_t stage = 0; stage < 3; ++stage)
                    expectSameOnEveryPath("stage " + std::to_string(stage) + " enc " + std::to_string(srcEnc) + ">" +
                                              std::to_string(dstEnc) + " w" + std::to_string(w),
                                          [&] {
                                              Image src = noise(w, 9, srcEnc, OX_8U, static_cast<uint32_t>(w));
                                              Image dst = noise(w, 9, dstEnc, OX_8U, 3);
                                              const int32_t r =
                                                  stage == 0   ? oxColorCorrectionFilter(src.get(), nullptr, dst.get(), nullptr)
                                                  : stage == 1 ? oxContrastEnhanceFilter(&contrast, src.get(), nullptr, dst.get(), nullptr)
                                                               : oxTransferEnhanceFilter(&transfer, src.get(), nullptr, dst.get(), nullptr);
                                              EXPECT_EQ(r, 0);
                                              return bytesOf(dst.get());
                                          });
}

// The Enhance entry point, whose contrast stage hands the transfer stage the
// brightness it wrote on the fast paths (the reference walks it again).
TEST(TonePaths, EnhanceEntryMatchesTheReference) {
    for (int32_t w : {8, 23, 1031})
        for (float steepness : {0.3f, 0.0f})
            expectSameOnEveryPath("enhance w" + std::to_string(w), [&] {
                Image src = noise(w, 11, OX_BGR, OX_8U, static_cast<uint32_t>(w) + 1);
                for (size_t i = 0; i < byteCount(src.get()); ++i) src->data[i] = static_cast<uint8_t>(40 + src->data[i] % 150);
                Image dst = make(w, 11, OX_BGR);
                EXPECT_EQ(oxYewEnhance(w, 11, src->data, dst->data, steepness), 0);
                return bytesOf(dst.get());
            });
}

// Contrast then transfer on packed three-byte colour, where the fast paths
// take both stages in one walk: every awkward width at heights that do and
// do not fit the blur, both byte orders, in place, a flat image (threshold
// table), clips that invert the table, and a flag raised before the call
// (nothing written). The status is the last byte compared.
TEST(TonePaths, ContrastThenTransferMatchesTheStages) {
    struct Case {
        const char* name;
        int32_t encoding, radius;
        float lowClip, highClip;
        bool inPlace, flat, abort;
    } cases[] = {
        {"bgr r7", OX_BGR, 7, 4, 9, false, false, false},   {"rgb r1 in place", OX_RGB, 1, 4, 9, true, false, false},
        {"bgr r0", OX_BGR, 0, 4, 9, false, false, false},   {"flat r2", OX_BGR, 2, 4, 9, false, true, false},
        {"inverted", OX_BGR, 1, 900, 900, true, false, false}, {"aborted", OX_RGB, 1, 4, 9, false, false, true},
    };
    const int32_t stop = 1;
    for (const Case& c : cases)
        for (int32_t h : {2, 9})
            for (int32_t w : awkwardWidths())
                expectSameOnEveryPath(std::string(c.name) + " " + std::to_string(w) + "x" + std::to_string(h), [&] {
                    const oxEnhanceParams p{0, 1, 1.0f, c.highClip, c.lowClip, 0.3f, 1.4f, c.radius, 0, 1, 0, 0.3f};
                    Image src = noise(w, h, c.encoding, OX_8U, static_cast<uint32_t>(w * h));
                    for (size_t i = 0; i < byteCount(src.get()); ++i)
                        src->data[i] = c.flat ? uint8_t{77} : static_cast<uint8_t>(20 + src->data[i] % 200);
                    Image dst = noise(w, h, c.encoding, OX_8U, 5);
                    oxImage* out = c.inPlace ? src.get() : dst.get();
                    const int32_t r = oxEnhanceFilter(&p, src.get(), nullptr, out, c.abort ? &stop : nullptr);
                    std::vector<uint8_t> bytes = bytesOf(out);
                    bytes.push_back(static_cast<uint8_t>(r));
                    return bytes;
                });
}

// The transfer table (the AVX2 rows convert, clamp and pack 32 entries at
// a time) for curves whose gains run negative, past 255, infinite or NaN.
TEST(TonePaths, TransferTablesMatchTheReference) {
    const oxTransferEnhanceParams params[] = {{0.3f, 1.4f, 7}, {4.0f, 0.2f, 7},  {-0.7f, 1.0f, 7},
                                              {1e-30f, 3.0f, 7}, {0.3f, -2.0f, 7}, {0.3f, NAN, 7}};
    for (const oxTransferEnhanceParams& p : params)
        for (float sum : {0.0f, 2000.0f, 9000.0f, 1e30f})
            expectSameOnEveryPath("steepness " + std::to_string(p.steepness) + " sum " + std::to_string(sum), [&] {
                const oxTransferEnhanceStats stats{sum, 64.0f};
                auto out = std::make_unique<oxTransferEnhanceAddParams>();
                oxTransferEnhanceAddParamsCompute(&stats, &p, out.get());
                return std::vector<uint8_t>(std::begin(out->gainTable), std::end(out->gainTable));
            });
}
