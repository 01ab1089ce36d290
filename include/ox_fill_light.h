/* Fill light: a lighten blend with a strength. Each of blue, green and red
 * of the destination becomes base + trunc((light - base) * amount) where
 * the light sample is the brighter one, else the base sample; only the
 * upper end is clamped (to 255).
 *
 * Samples are single bytes at the offsets of channels 1-3, pixels are
 * oxImageGetNChannel bytes apart, each image addressed with its own width
 * and encoding; the loop covers the light image. */
#ifndef OX_FILL_LIGHT_H
#define OX_FILL_LIGHT_H

#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxFillLightParams {
    double amount; /* share of the positive difference added to the base; default 1 */
} oxFillLightParams;

/* New record with amount 1; null when memory is exhausted. */
OX_API oxFillLightParams* oxFillLightParamsDefault(void);
/* Frees *params (null ignored) and nulls the caller's pointer. */
OX_API void oxFillLightParamsRelease(oxFillLightParams** params);

/* Lighten blend of `light` over `base` into `destination` (which may be
 * `light`). Returns 0 (also for a light image without rows); 1 when base,
 * light or destination has fewer than 3 channels, for a null record or
 * image, an unknown pixel type, null pixels, or a base or destination
 * smaller than the light image; 2 when aborted (rows already done stay
 * written). A negative amount lowers samples and a result below 0 is
 * stored modulo 256: callers keep the amount non-negative. */
OX_API int32_t oxFillLight(const oxFillLightParams* params, const oxImage* base, const oxImage* light,
                           oxImage* destination, const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_FILL_LIGHT_H */
