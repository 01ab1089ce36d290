// The saturation change and the focus mask on every instruction-set path
// against their plain references, byte for byte.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "effects/detail/saturate_ops.hpp"
#include "support/paths.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

// Every encoding pair, in place and not, factors that raise, lower, invert
// or are not finite; the wide image holds every triple of a set of values
// with ties in every position, which decide the middle channel.
TEST(SaturatePaths, EveryPathMatchesTheReference) {
    struct Case {
        int32_t in, out;
        bool inPlace;
    } cases[] = {{OX_BGR, OX_BGR, true}, {OX_BGR, OX_BGR, false}, {OX_RGB, OX_ARGB, false},
                 {OX_RGBA, OX_BGR, false}, {OX_ARGB, OX_RGBA, false}, {OX_RGBA, OX_RGBA, true}};
    const uint8_t values[] = {0, 1, 2, 5, 6, 7, 127, 128, 200, 254, 255};
    for (const Case& c : cases)
        for (float f : {0.3f, 2.0f, -1.0f, 0.0f, NAN, INFINITY})
            for (int32_t w : awkwardWidths())
                expectSameOnEveryPath("saturate " + std::to_string(c.in) + " to " + std::to_string(c.out) + " f " +
                                          std::to_string(f) + " width " + std::to_string(w),
                                      [&] {
                                          Image src = noise(w, 3, c.in, OX_8U, 11), dst = noise(w, 3, c.out, OX_8U, 12);
                                          if (w == 1031) {  // 1331 triples cover the first 1331 pixels' channels
                                              const int32_t ch = oxGetNChannelFromEncoding(c.in);
                                              for (int32_t i = 0; i < 1331; ++i)
                                                  for (int32_t k = 0; k < 3; ++k)
                                                      src->data[i * ch + k] = values[i / (k == 0 ? 1 : k == 1 ? 11 : 121) % 11];
                                          }
                                          oxImage* out = c.inPlace ? src.get() : dst.get();
                                          const oxSaturateParams p{f};
                                          EXPECT_EQ(oxSaturateFilter(&p, src.get(), out, nullptr), 0);
                                          return bytesOf(out);
                                      });
}

// Rows with padding between them are run one by one; packed rows (above)
// hand a row's last pixels on to the next row's run.
TEST(SaturatePaths, PaddedRowsMatchTheReference) {
    namespace d = ox::detail;
    for (int32_t w : awkwardWidths())
        expectSameOnEveryPath("padded width " + std::to_string(w), [&] {
            const int64_t stride = 3 * int64_t(w) + 5;
            std::vector<uint8_t> buffer(size_t(stride * 4));
            std::mt19937 rng{static_cast<uint32_t>(w)};
            for (uint8_t& b : buffer) b = uint8_t(rng());
            const d::View<uint8_t> v{buffer.data(), w, 4, 3, stride};
            const d::ChannelOrder bgr = d::channelOrderOf(OX_BGR);
            EXPECT_EQ(d::saturatePixels(v, bgr, v, bgr, 1.6f, nullptr), d::Status::Ok);
            return buffer;
        });
}

TEST(FocusMaskPaths, EveryPathMatchesTheReference) {
    const oxFocusMaskParams boxes[] = {{0.2f, 0.4f, 0.8f, 0.6f}, {0.0f, 0.0f, 1.0f, 1.0f}, {-2.0f, -1.0f, 3.0f, 2.0f},
                                       {0.9f, 0.1f, 0.1f, 0.9f}, {0.5f, 0.0f, 0.5f, 1.0f}, {NAN, 0.0f, 1.0f, INFINITY}};
    for (const oxFocusMaskParams& b : boxes)
        for (int32_t w : awkwardWidths())
            expectSameOnEveryPath("focus mask width " + std::to_string(w) + " box " + std::to_string(b.x0), [&] {
                Image m = noise(w, 9, OX_GRAY, OX_8U, 13);
                EXPECT_EQ(oxFocusMaskFill(&b, m.get()), 0);
                return bytesOf(m.get());
            });
}
