// The channel-by-channel plane loop shared by the filters that work on one
// channel at a time: extract a channel into a one-channel plane, filter it,
// insert it back. The blur, the convolution and the resize all use it.
#pragma once

#include <cstdint>

#include "core/detail/handles.hpp"
#include "ox_image.h"

namespace ox::detail {

// One-channel header of the given size and type over caller memory.
inline HeaderPtr planeHeader(int32_t width, int32_t height, int32_t type, uint8_t* memory) noexcept {
    HeaderPtr h(oxImageCreateHeaderWithType(width, height, OX_GRAY, type));
    if (h) h->data = memory;
    return h;
}

// For channel c = 1 .. lastChannel: extract channel c of `src` into
// `inPlane`, run filter(inPlane, outPlane), insert `outPlane` into channel c
// of `dst`. The first non-zero filter status ends the loop and is returned.
// inPlane and outPlane may be the same header (filters that work in place).
template <class F>
int32_t forEachChannelPlane(const oxImage* src, oxImage* dst, int32_t lastChannel, oxImage* inPlane, oxImage* outPlane,
                            F&& filter) {
    for (int32_t c = 1; c <= lastChannel; ++c) {
        oxImageExtractChannel(src, inPlane, c);
        if (const int32_t r = filter(inPlane, outPlane); r != 0) return r;
        oxImageInsertChannel(outPlane, dst, c);
    }
    return 0;
}

}  // namespace ox::detail
