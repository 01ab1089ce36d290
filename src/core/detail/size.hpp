// Sizes of buffers (bytes, element counts, scratch sizes) formed in one
// place. Records arrive with sizes nobody validated, so a product of them
// may be negative or may wrap; here it either is the exact count of a
// buffer that can exist, or there is no such buffer (std::nullopt), and
// nothing is ever allocated, walked or written on a wrapped count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

namespace ox::detail {

static_assert(sizeof(size_t) >= sizeof(int64_t), "buffer sizes are formed in 64 bits");

// No 64-bit processor the library runs on addresses more than 2^56 bytes,
// so no buffer is larger. Keeping every count at or below it leaves room
// in int64 for the walks' own arithmetic: a count times a pixel step (at
// most 32 bytes), or the sum of a few counts, cannot wrap.
constexpr int64_t kLargestBuffer = int64_t{1} << 56;

// Count of a buffer, or nullopt when no buffer can have it.
using Count = std::optional<int64_t>;

// Product of the factors: nullopt when one is negative or the product
// exceeds kLargestBuffer. A zero factor gives 0 whatever the others are, so
// the order of the factors never matters.
constexpr Count checkedProduct(std::initializer_list<int64_t> factors) noexcept {
    bool zero = false;
    for (int64_t f : factors) {
        if (f < 0) return std::nullopt;
        zero = zero || f == 0;
    }
    if (zero) return 0;
    int64_t p = 1;
    for (int64_t f : factors)
        if (__builtin_mul_overflow(p, f, &p) || p > kLargestBuffer) return std::nullopt;
    return p;
}

// Sum of non-negative terms, with the same limits as the product.
constexpr Count checkedSum(std::initializer_list<int64_t> terms) noexcept {
    int64_t s = 0;
    for (int64_t t : terms)
        if (t < 0 || __builtin_add_overflow(s, t, &s) || s > kLargestBuffer) return std::nullopt;
    return s;
}

// The count as an allocation size; 0 for no buffer, which the allocating
// paths treat as "nothing to allocate" and the checks before them refuse.
constexpr uint64_t sizeOrZero(Count c) noexcept { return c ? static_cast<uint64_t>(*c) : 0; }

}  // namespace ox::detail
