/* Colour conversion between encodings, and the fixed-point grey weights. */
#ifndef OX_COLOR_H
#define OX_COLOR_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Grey weights in 14-bit fixed point, three tables of 256 entries indexed
 * by an 8-bit intensity i: [0..255] blue, i*1868 + 8192 (the rounding half
 * of the scale); [256..511] green, i*9617; [512..767] red, i*4899. */
OX_API extern const int32_t ox_toGray_tab[768];

/* Converts the ROI of `src` into `dst` (starting at the ROI origin of
 * `dst`): a row copy for equal encodings, a channel reordering between
 * colour encodings (alpha of `dst` is kept), grey replicated into channels
 * 1-3, or the fixed-point grey sum for a grey destination.
 * Returns 0; 1 when the pixel types differ (nothing written), and 1 when an
 * encoding is invalid or the ROI block would leave either buffer. */
OX_API int32_t oxImageCvtColor(const oxImage* src, oxImage* dst);

OX_END_DECLS

#endif /* OX_COLOR_H */
