// Typed views of pixel rows: what the internal operations take once the
// exported shells have checked an oxImage. A view knows its element type,
// so loops index `float*` and `const uint8_t*` rows instead of byte
// offsets times an element size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_image.h"

namespace ox::detail {

// `height` rows of `width` pixels of `channels` interleaved elements of T;
// row y starts `stride` elements after row y - 1. A plane is a view with
// one channel.
template <class T> struct View {
    T* data = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t channels = 1;
    int64_t stride = 0;

    T* row(int64_t y) const noexcept { return data + y * stride; }
    int64_t rowElements() const noexcept { return static_cast<int64_t>(width) * channels; }
    bool empty() const noexcept { return width <= 0 || height <= 0; }
    // Rows follow one another with no gap: the pixels are one run.
    bool packed() const noexcept { return stride == rowElements(); }

    // The block of w x h pixels at (x, y).
    View sub(int32_t x, int32_t y, int32_t w, int32_t h) const noexcept {
        return {row(y) + static_cast<int64_t>(x) * channels, w, h, channels, stride};
    }

    operator View<const T>() const noexcept
        requires(!std::is_const_v<T>)
    {
        return {data, width, height, channels, stride};
    }
};

template <class T> using ConstView = View<const T>;

// The element type's code, for checks against oxImage::type.
template <class T> constexpr int32_t typeCodeOf() noexcept {
    using U = std::remove_const_t<T>;
    if constexpr (std::is_same_v<U, uint8_t>) return OX_8U;
    else if constexpr (std::is_same_v<U, uint16_t>) return OX_16U;
    else if constexpr (std::is_same_v<U, int32_t>) return OX_32S;
    else if constexpr (std::is_same_v<U, uint32_t>) return OX_32U;
    else if constexpr (std::is_same_v<U, float>) return OX_32F;
    else return OX_64F;
}

// The whole buffer of an image already checked to hold elements of T under
// a valid encoding.
template <class T> View<T> wholeView(const oxImage* img) noexcept {
    const int32_t channels = channelCount(img->encoding);
    return {reinterpret_cast<T*>(img->data), img->width, img->height, channels,
            static_cast<int64_t>(img->width) * channels};
}

// The ROI of an image already checked as above and with its ROI inside it.
template <class T> View<T> roiView(const oxImage* img) noexcept {
    return wholeView<T>(img).sub(img->roi.x, img->roi.y, img->roi.width, img->roi.height);
}

// A view over memory it owns (malloc'ed, rows packed). Empty when the
// allocation failed or the size cannot be allocated.
template <class T> struct OwnedView {
    Buffer memory;
    View<T> view;

    explicit operator bool() const noexcept { return memory != nullptr; }
};

template <class T> OwnedView<T> allocateView(int32_t width, int32_t height, int32_t channels) noexcept {
    OwnedView<T> out;
    uint64_t elements = 0, bytes = 0;
    if (width < 0 || height < 0 || channels < 1 ||
        __builtin_mul_overflow(static_cast<uint64_t>(width), static_cast<uint64_t>(height), &elements) ||
        __builtin_mul_overflow(elements, static_cast<uint64_t>(channels), &elements) ||
        __builtin_mul_overflow(elements, sizeof(T), &bytes) || bytes > PTRDIFF_MAX)
        return out;
    out.memory = allocateBuffer(bytes > 0 ? static_cast<size_t>(bytes) : 1);
    if (out.memory)
        out.view = {reinterpret_cast<T*>(out.memory.get()), width, height, channels,
                    static_cast<int64_t>(width) * channels};
    return out;
}

}  // namespace ox::detail
