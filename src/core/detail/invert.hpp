// Byte-wise inversion of a flat buffer, shared by the image and volume
// inversions.
#pragma once

#include <cstdint>
#include <cstring>

namespace ox::detail {

// d[i] = ~s[i] for n bytes. Going through a local block lets the compiler
// use wide loads and stores without proving that s and d do not overlap
// (they may be one buffer).
inline void invertBytes(const uint8_t* s, uint8_t* d, int64_t n) noexcept {
    constexpr int64_t kBlockBytes = 16;  // one register on x86-64 and arm64
    int64_t i = 0;
    for (; i + kBlockBytes <= n; i += kBlockBytes) {
        uint8_t b[kBlockBytes];
        std::memcpy(b, s + i, kBlockBytes);
        for (uint8_t& v : b) v = static_cast<uint8_t>(~v);
        std::memcpy(d + i, b, kBlockBytes);
    }
    for (; i < n; ++i) d[i] = static_cast<uint8_t>(~s[i]);
}

}  // namespace ox::detail
