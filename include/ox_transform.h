/* Backward-mapped geometric transform of a one-channel image, and four
 * ready mappings (each the inverse of the motion it is named after, so it
 * maps destination positions back into the source). */
#ifndef OX_TRANSFORM_H
#define OX_TRANSFORM_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Sampling modes of oxImageTransform; plain integers work alike. */
enum {
    OX_TRANSFORM_NEAREST = -1, /* the value at the truncated position */
    OX_TRANSFORM_BILINEAR = 0  /* bilinear between the four neighbours */
};

/* A mapping: destination position in, source position out. `params` is the
 * mapping's own parameter record. */
typedef oxPoint2D (*oxBackMapping)(const oxPoint2D* p, const void* params);

typedef struct oxBackTranslation {
    double dx;
    double dy;
} oxBackTranslation;

typedef struct oxBackReflection {
    int32_t axis;    /* 0: mirror the column, otherwise mirror the row */
    double position; /* the mirror line */
} oxBackReflection;

typedef struct oxBackRotation {
    double cx; /* centre */
    double cy;
    double cosine; /* of the rotation angle */
    double sine;
} oxBackRotation;

typedef struct oxBackScaling {
    double cx; /* centre */
    double cy;
    double factor;
} oxBackScaling;

/* (x - dx, y - dy); params is an oxBackTranslation. */
OX_API oxPoint2D backTranslation(const oxPoint2D* p, const void* params);
/* (2 position - x, y) for axis 0, else (x, 2 position - y); params is an
 * oxBackReflection. */
OX_API oxPoint2D backReflection(const oxPoint2D* p, const void* params);
/* With (u, v) = (x - cx, y - cy): (cx + u cos + v sin, cy + v cos - u sin);
 * params is an oxBackRotation. */
OX_API oxPoint2D backRotation(const oxPoint2D* p, const void* params);
/* (cx + (x - cx) / factor, cy + (y - cy) / factor); params is an
 * oxBackScaling. */
OX_API oxPoint2D backScaling(const oxPoint2D* p, const void* params);

/* For every pixel of the destination ROI (whole-image coordinates), maps
 * its position back with `mapping` and, when the result lies inside the
 * source ROI (bounds inclusive), stores the source value there: bilinear
 * for OX_TRANSFORM_BILINEAR, at the truncated position for
 * OX_TRANSFORM_NEAREST. Integer destinations
 * take the value truncated toward zero to int32 and then to their width
 * (no clamping); float destinations narrow it. Pixels that map outside keep
 * their values. Returns 0; 1 for different pixel types, a source with more
 * than one channel, another mode, an unsupported type, a null mapping, or
 * a ROI outside its image. */
OX_API int32_t oxImageTransform(const oxImage* src, oxImage* dst, oxBackMapping mapping, const void* params,
                                int32_t mode);

OX_END_DECLS

#endif /* OX_TRANSFORM_H */
