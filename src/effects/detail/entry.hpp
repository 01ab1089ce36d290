// The three-byte BGR entry points work on the caller's pixel buffers; they
// see them through record headers that never own the pixels.
#pragma once

#include <cstdint>

#include "core/detail/handles.hpp"
#include "core/detail/size.hpp"
#include "ox_image.h"

namespace ox::detail {

// A BGR header of the given size over `pixels`; null when the header cannot
// be made or no buffer can have that size (the caller's cannot either). A
// source header is only ever read, hence the const_cast.
inline HeaderPtr wrapBgr(int32_t width, int32_t height, const uint8_t* pixels) noexcept {
    if (!checkedProduct({width, height, 3})) return nullptr;
    HeaderPtr img(oxImageCreateHeader(width, height, OX_BGR));
    if (img) img->data = const_cast<uint8_t*>(pixels);
    return img;
}

}  // namespace ox::detail
