// Thresholding with a change of pixel type.
#include <cstring>
#include <type_traits>

#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_threshold.h"

using namespace ox::detail;

namespace {

template <int32_t From, int32_t To> void threshold(const uint8_t* src, uint8_t* dst, int64_t n, double low, double high) {
    using Out = PixelType<To>;
    const double k = fullScale(To) / fullScale(From);
    const double top = fullScale(To);
    for (int64_t i = 0; i < n; ++i) {
        // OX_32U reads as signed here too, like every other read of the library.
        const double x = readAsDouble<From>(src + i * int64_t{sizeof(PixelType<From>)});
        const double r = x > high ? top : x < low ? 0.0 : x * k;
        Out out;
        if constexpr (std::is_floating_point_v<Out>)
            out = static_cast<Out>(r);
        else
            out = saturateTrunc<Out>(r);  // out-of-range sources saturate, NaN gives 0
        std::memcpy(dst + i * int64_t{sizeof(Out)}, &out, sizeof out);
    }
}

}  // namespace

extern "C" {

OX_API int32_t oxImageThreshold(const oxImage* src, oxImage* dst, double low, double high) {
    if (dst->width != src->width || dst->height != src->height) return 1;
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return 1;
    // The buffer sizes are only known for valid encodings, and every valid
    // encoding holds at least width * height elements.
    if (!isValidEncoding(src->encoding) || !isValidEncoding(dst->encoding)) return 1;
    if (src->width <= 0 || src->height <= 0) return 0;
    // width * height values lie inside any buffer that can exist for these sizes.
    if (!hasBuffer(src) || !hasBuffer(dst)) return 1;
    const int64_t n = *checkedProduct({src->width, src->height});
    visitType(src->type, [&](auto from) {
        visitType(dst->type, [&](auto to) {
            threshold<decltype(from)::code, decltype(to)::code>(src->data, dst->data, n, low, high);
        });
    });
    return 0;
}

}  // extern "C"
