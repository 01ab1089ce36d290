/* The image record, its pixel types and encodings, creation and release,
 * code lookups, ROI/COI accessors and channel extraction/insertion.
 *
 * Ownership: images from oxImageCreate, oxImageCreateWithType and
 * oxImageCreateAs own their pixels and are freed with oxImageRelease.
 * Header-only images (oxImageCreateHeader...) wrap caller-owned pixels
 * and are freed with oxImageReleaseHeader, which never touches `data`.
 * Release functions take the address of the caller's pointer and null it;
 * releasing a null pointer does nothing. */
#ifndef OX_IMAGE_H
#define OX_IMAGE_H

#include "ox_export.h"

OX_BEGIN_DECLS

/* Pixel type codes (stored in oxImage.type) and their element sizes. */
enum {
    OX_8U = 0,   /* unsigned 8-bit, 1 byte */
    OX_32S = 10, /* signed 32-bit holding a 16-bit-range intensity, 4 bytes */
    OX_16U = 12, /* unsigned 16-bit, 2 bytes */
    OX_32U = 15, /* 32-bit holding a 24-bit-range intensity, 4 bytes */
    OX_32F = 20, /* float, intensities 0..1, 4 bytes */
    OX_64F = 30  /* double, intensities 0..1, 8 bytes */
};

/* Encoding codes (stored in oxImage.encoding). Channels are numbered
 * 1 = blue, 2 = green, 3 = red, 4 = alpha. */
enum {
    OX_GRAY = 0, /* 1 channel */
    OX_BGR = 1,  /* 3 channels: B G R */
    OX_RGB = 2,  /* 3 channels: R G B */
    OX_ARGB = 3, /* 4 channels: A R G B */
    OX_RGBA = 4  /* 4 channels: R G B A */
};

typedef struct oxRect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
} oxRect;

typedef struct oxSize {
    int32_t width;
    int32_t height;
} oxSize;

/* Integer pixel position; `k` is not read by the image accessors, `z` only
 * by the volume accessors. */
typedef struct oxPoint {
    int32_t k;
    int32_t x;
    int32_t y;
    int32_t z;
} oxPoint;

/* Real-valued position: x is the column, y the row. */
typedef struct oxPoint2D {
    double x;
    double y;
} oxPoint2D;

/* A 2-D pixel buffer: rows packed, channels interleaved. */
typedef struct oxImage {
    int32_t type;     /* pixel type code */
    int32_t encoding; /* encoding code */
    int32_t height;   /* rows */
    int32_t width;    /* columns */
    uint8_t* data;    /* height * width * channels * element size bytes */
    oxRect roi;       /* region of interest */
    int32_t coi;      /* channel of interest, 0 = none */
} oxImage;

/* Channel count of an encoding; -1 for a code above 4 (as unsigned). */
OX_API int32_t oxGetNChannelFromEncoding(int32_t encoding);

/* 0-based index of `channel` (1..4) inside a pixel of `encoding`; -1 when
 * the encoding or the channel is invalid. OX_GRAY gives 0 for any channel. */
OX_API int32_t oxGetChannelOffsetFromEncoding(int32_t encoding, int32_t channel);

/* Zero-filled header with full ROI, coi 0 and data null. No argument is
 * validated. Null when the record cannot be allocated. */
OX_API oxImage* oxImageCreateHeaderWithType(int32_t width, int32_t height, int32_t encoding, int32_t type);
/* As oxImageCreateHeaderWithType with type OX_8U. */
OX_API oxImage* oxImageCreateHeader(int32_t width, int32_t height, int32_t encoding);

/* Header plus an uninitialised pixel buffer of height*width*E*C bytes.
 * Null for an encoding above 4 or when an allocation fails. */
OX_API oxImage* oxImageCreateWithType(int32_t width, int32_t height, int32_t encoding, int32_t type);
/* As oxImageCreateWithType with type OX_8U. */
OX_API oxImage* oxImageCreate(int32_t width, int32_t height, int32_t encoding);
/* New image with the geometry, encoding and type of `image` (full ROI,
 * coi 0, uninitialised pixels). */
OX_API oxImage* oxImageCreateAs(const oxImage* image);

/* Frees the record only (never `data`) and nulls *image. */
OX_API void oxImageReleaseHeader(oxImage** image);
/* Frees `data` (when non-null) and the record, and nulls *image. */
OX_API void oxImageRelease(oxImage** image);

/* 1 when either encoding is invalid or exactly one of them is OX_GRAY;
 * 0 when both are grey or both are colour (any order or channel count). */
OX_API int32_t oxImageHaveUncompatibleEncodings(const oxImage* a, const oxImage* b);

/* Channel count of the image's encoding, -1 for an invalid encoding. */
OX_API int32_t oxImageGetNChannel(const oxImage* image);
OX_API int32_t oxImageGetEncoding(const oxImage* image);

/* Byte offset of `channel` inside a pixel: channel index times element
 * size; -1 times the element size for an invalid encoding or channel. */
OX_API int32_t oxImageGetChannelOffset(const oxImage* image, int32_t channel);

OX_API void oxImageSetROI(oxImage* image, const oxRect* roi);
/* ROI becomes {0, 0, width, height}. */
OX_API void oxImageResetROI(oxImage* image);
OX_API void oxImageSetCOI(oxImage* image, int32_t channel);
OX_API void oxImageResetCOI(oxImage* image);

/* Writes pixel step, row step and ROI row skip, in bytes, into out[0..2]. */
OX_API void oxImageExtractDerivedMembers(const oxImage* image, int32_t out[3]);

/* {width, height}. */
OX_API oxSize oxImageSize(const oxImage* image);

/* Copies channel `channel` of the ROI of `src` into the single channel of
 * `dst` (same type, OX_GRAY, ROI as large). Returns 1 for an invalid
 * channel, 0 otherwise. */
OX_API int32_t oxImageExtractChannel(const oxImage* src, oxImage* dst, int32_t channel);
/* Mirror of oxImageExtractChannel: the single channel of `src` goes into
 * channel `channel` of `dst`; the other channels of `dst` are kept. */
OX_API int32_t oxImageInsertChannel(const oxImage* src, oxImage* dst, int32_t channel);

OX_END_DECLS

#endif /* OX_IMAGE_H */
