/* Element-wise image operations: copy, blends, substitution, transpose.
 * They walk the ROI of their first image and write the ROI of the
 * destination; every image advances by its own steps, so all ROIs must be
 * as large as the first image's ROI. */
#ifndef OX_ELEMENTWISE_H
#define OX_ELEMENTWISE_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Exactly oxImageCvtColor(src, dst): 0, or 1 for different pixel types. */
OX_API int32_t oxCopy(const oxImage* src, oxImage* dst);

OX_END_DECLS

#endif /* OX_ELEMENTWISE_H */
