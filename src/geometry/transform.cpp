// Backward-mapped transform and its four ready mappings.
#include <cmath>
#include <cstring>

#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_pixel.h"
#include "ox_transform.h"

using namespace ox::detail;

namespace {

// Integer pixels take the value truncated to int32 and then their own low
// bits, without clamping; float pixels narrow it.
template <class T> T storeAs(double v) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(v);
    else
        return static_cast<T>(saturateTrunc<int32_t>(v));
}

template <int32_t Code>
void transform(const oxImage* src, oxImage* dst, oxBackMapping mapping, const void* params, int32_t mode) {
    using T = PixelType<Code>;
    const double left = src->roi.x, top = src->roi.y;
    const double right = left + src->roi.width - 1, bottom = top + src->roi.height - 1;
    const Steps d = stepsOf(dst);
    for (int32_t row = dst->roi.y; row < dst->roi.y + dst->roi.height; ++row) {
        uint8_t* out = dst->data + row * d.row + dst->roi.x * d.pixel;
        for (int32_t col = dst->roi.x; col < dst->roi.x + dst->roi.width; ++col, out += d.pixel) {
            const oxPoint2D here{static_cast<double>(col), static_cast<double>(row)};
            const oxPoint2D p = mapping(&here, params);
            if (!(p.x >= left && p.x <= right && p.y >= top && p.y <= bottom)) continue;
            double v;
            if (mode == 0) {
                v = oxImageGetInterpolatedVal(src, &p);
            } else {
                const oxPoint at{0, static_cast<int32_t>(p.x), static_cast<int32_t>(p.y), 0};
                v = oxImageGetVal(src, &at);
            }
            const T stored = storeAs<T>(v);
            std::memcpy(out, &stored, sizeof stored);
        }
    }
}

}  // namespace

extern "C" {

OX_API oxPoint2D backTranslation(const oxPoint2D* p, const void* params) {
    const auto* t = static_cast<const oxBackTranslation*>(params);
    return {p->x - t->dx, p->y - t->dy};
}

OX_API oxPoint2D backReflection(const oxPoint2D* p, const void* params) {
    const auto* r = static_cast<const oxBackReflection*>(params);
    if (r->axis == 0) return {2 * r->position - p->x, p->y};
    return {p->x, 2 * r->position - p->y};
}

OX_API oxPoint2D backRotation(const oxPoint2D* p, const void* params) {
    const auto* r = static_cast<const oxBackRotation*>(params);
    const double u = p->x - r->cx, v = p->y - r->cy;
    return {r->cx + u * r->cosine + v * r->sine, r->cy + v * r->cosine - u * r->sine};
}

OX_API oxPoint2D backScaling(const oxPoint2D* p, const void* params) {
    const auto* s = static_cast<const oxBackScaling*>(params);
    return {s->cx + (p->x - s->cx) / s->factor, s->cy + (p->y - s->cy) / s->factor};
}

OX_API int32_t oxImageTransform(const oxImage* src, oxImage* dst, oxBackMapping mapping, const void* params,
                                int32_t mode) {
    if (src->type != dst->type || src->encoding != OX_GRAY) return 1;
    if (mode != 0 && mode != -1) return 1;
    if (!isKnownType(src->type) || !mapping) return 1;
    if (dst->roi.width < 1 || dst->roi.height < 1) return 0;
    if (!roiInside(dst) || !roiInside(src)) return 1;
    visitType(src->type, [&](auto tag) { transform<decltype(tag)::code>(src, dst, mapping, params, mode); });
    return 0;
}

}  // extern "C"
