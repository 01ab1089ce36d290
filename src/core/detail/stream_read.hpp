// Reading a block of known size from a stream that may or may not seek,
// shared by the image and volume loaders.
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "core/detail/handles.hpp"

namespace ox::detail {

// Bytes between the position and the end of the stream, or -1 when the
// stream cannot seek (a pipe). A stream that cannot return to its position
// has nothing more to read: 0.
inline int64_t remainingBytes(FILE* stream) noexcept {
    const off_t pos = ftello(stream);
    if (pos < 0 || fseeko(stream, 0, SEEK_END) != 0) return -1;
    const off_t end = ftello(stream);
    if (fseeko(stream, pos, SEEK_SET) != 0) return 0;
    return end < pos ? 0 : static_cast<int64_t>(end - pos);
}

// A malloc'ed buffer holding exactly `bytes` (> 0) bytes from the stream, or
// null when the stream ends first or memory runs out. Where the length is
// unknown the buffer starts at `firstChunk` bytes and doubles as data
// arrives, so a header that promises gigabytes costs no more memory than
// the stream holds. A short read is retried; only a read of nothing fails.
inline Buffer readExactly(FILE* stream, size_t bytes, size_t firstChunk) noexcept {
    if (bytes == 0) return {};
    const int64_t left = remainingBytes(stream);
    if (left >= 0 && static_cast<uint64_t>(left) < bytes) return {};
    size_t capacity = left >= 0 ? bytes : std::min(bytes, firstChunk), got = 0;
    Buffer b = allocateBuffer(capacity);
    while (b && got < bytes) {
        if (got == capacity) {
            capacity = std::min(bytes, capacity * 2);
            auto* grown = static_cast<uint8_t*>(std::realloc(b.get(), capacity));
            if (!grown) return {};
            (void)b.release();
            b.reset(grown);
        }
        const size_t n = std::fread(b.get() + got, 1, capacity - got, stream);
        if (n == 0) return {};
        got += n;
    }
    return b;
}

}  // namespace ox::detail
