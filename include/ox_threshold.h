/* Thresholding with a change of pixel type. */
#ifndef OX_THRESHOLD_H
#define OX_THRESHOLD_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* For the first width * height elements of the buffers (a flat array
 * whatever the channel count; ROI and coi ignored), with x the source value
 * (OX_32S and OX_32U read as signed 32-bit): x > high gives the full scale
 * of dst's type, else x < low gives 0, else x * S(dst) / S(src). Full
 * scales: OX_8U 255, OX_16U and OX_32S 65535, OX_32U 1677215, floats 1.
 * `low` and `high` are in source units. Integer results are truncated
 * toward zero and saturate to the storage type (NaN gives 0); OX_32F
 * rounds to float.
 * Returns 0; 1 (nothing written) when the widths differ, the heights
 * differ, a type is unknown, an encoding is invalid or pixels are null. */
OX_API int32_t oxImageThreshold(const oxImage* src, oxImage* dst, double low, double high);

OX_END_DECLS

#endif /* OX_THRESHOLD_H */
