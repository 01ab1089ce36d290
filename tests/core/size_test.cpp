#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

#include "core/detail/size.hpp"

using ox::detail::checkedProduct;
using ox::detail::checkedSum;
using ox::detail::Count;
using ox::detail::kLargestBuffer;

namespace {

constexpr int64_t kMax32 = 2147483647;
constexpr std::optional<int64_t> kNone = std::nullopt;

}  // namespace

TEST(BufferCount, ProductsAreExactOrNoBuffer) {
    struct Case {
        const char* name;
        Count got, expected;
    } cases[] = {
        {"plain", checkedProduct({4, 3, 4, 8}), 384},
        {"no factors", checkedProduct({}), 1},
        {"negative factor", checkedProduct({-1, 5}), kNone},
        {"negative times negative", checkedProduct({-2, -3}), kNone},
        {"zero after a wrap", checkedProduct({kMax32, kMax32, kMax32, 0}), 0},
        {"zero does not hide a negative", checkedProduct({0, -1}), kNone},
        // width * height * channels wraps int64; the old arithmetic then
        // doubled it back to 32 bytes
        {"the 72-byte dump", checkedProduct({1263665316, 1824726041, 4, 2}), kNone},
        {"fits int64, beyond any address space", checkedProduct({kMax32, kMax32}), kNone},
        {"largest buffer", checkedProduct({int64_t{1} << 28, int64_t{1} << 28}), kLargestBuffer},
        {"one byte per pixel past it", checkedProduct({(int64_t{1} << 28) + 1, int64_t{1} << 28}), kNone},
        {"sum", checkedSum({1, 2, 3}), 6},
        {"sum up to the largest buffer", checkedSum({kLargestBuffer - 1, 1}), kLargestBuffer},
        {"sum past it", checkedSum({kLargestBuffer, 1}), kNone},
        {"sum of a negative", checkedSum({5, -1}), kNone},
    };
    for (const Case& c : cases) EXPECT_EQ(c.got, c.expected) << c.name;
}
