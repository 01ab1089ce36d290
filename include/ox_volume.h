/* Volumes: a stack of `depth` planes of width x height elements of one
 * pixel type, stored contiguously (`data`) or one buffer per plane. Every
 * plane is also an oxImage header in `planes`. */
#ifndef OX_VOLUME_H
#define OX_VOLUME_H

#include <stdio.h>

#include "ox_image.h"

OX_BEGIN_DECLS

/* Region of interest of a volume. */
typedef struct oxBox {
    int32_t x;
    int32_t y;
    int32_t z;
    int32_t width;
    int32_t height;
    int32_t depth;
} oxBox;

typedef struct oxSize3D {
    int32_t width;
    int32_t height;
    int32_t depth;
} oxSize3D;

typedef struct oxPoint3D {
    double x;
    double y;
    double z;
} oxPoint3D;

typedef struct oxVolume {
    int32_t type;     /* pixel type code */
    int32_t depth;    /* planes */
    int32_t width;    /* elements per row */
    int32_t height;   /* rows per plane */
    uint8_t* data;    /* contiguous buffer, or null (header only, separate planes) */
    oxImage** planes; /* `depth` plane headers */
    oxBox roi;
} oxVolume;

/* The record with 4-byte pointer slots: the 48-byte header of the volume
 * dump file. */
typedef struct oxVolume32 {
    int32_t type;
    int32_t depth;
    int32_t width;
    int32_t height;
    uint32_t data;
    uint32_t planes;
    oxBox roi;
} oxVolume32;

/* ---- Construction and release --------------------------------------
 * Argument order: width, height, depth, then type and/or encoding. Every
 * constructor returns a new volume with roi {0, 0, 0, width, height,
 * depth}, or null when an allocation fails; nothing is left allocated
 * then. No argument is validated: sizes that cannot be allocated give
 * null. */

/* Record, `planes` array and `depth` plane headers of the given encoding
 * and type; `data` and every plane's data stay null. Release with
 * oxVolumeReleaseHeader. */
OX_API oxVolume* oxVolumeCreateHeaderWithTypeAndEncoding(int32_t width, int32_t height, int32_t depth, int32_t type,
                                                         int32_t encoding);
/* As above with type OX_8U and encoding OX_GRAY. */
OX_API oxVolume* oxVolumeCreateHeader(int32_t width, int32_t height, int32_t depth);
/* As above with encoding OX_GRAY. */
OX_API oxVolume* oxVolumeCreateHeaderWithType(int32_t width, int32_t height, int32_t depth, int32_t type);
/* As above with type OX_8U. */
OX_API oxVolume* oxVolumeCreateHeaderWithEncoding(int32_t width, int32_t height, int32_t depth, int32_t encoding);

/* Contiguous OX_GRAY volume: one zeroed buffer of width*height*E*depth
 * bytes, plane k at data + k*width*height*E. Release with oxVolumeRelease. */
OX_API oxVolume* oxVolumeCreateWithType(int32_t width, int32_t height, int32_t depth, int32_t type);
/* As oxVolumeCreateWithType with type OX_8U. */
OX_API oxVolume* oxVolumeCreate(int32_t width, int32_t height, int32_t depth);
/* Contiguous OX_8U volume whose planes have `encoding`: one zeroed buffer
 * of C*width*height*depth bytes (C channels). */
OX_API oxVolume* oxVolumeCreateWithEncoding(int32_t width, int32_t height, int32_t depth, int32_t encoding);
/* Contiguous OX_GRAY volume with the size and type of `volume` (its planes'
 * encoding is not taken over). */
OX_API oxVolume* oxVolumeCreateAs(const oxVolume* volume);

/* OX_GRAY volume with one zeroed buffer per plane; `data` stays null.
 * Release with oxVolumeReleaseWithSeparatePlanes. */
OX_API oxVolume* oxVolumeCreateWithTypeWithSeparatePlanes(int32_t width, int32_t height, int32_t depth, int32_t type);
/* As above with type OX_8U. */
OX_API oxVolume* oxVolumeCreateWithSeparatePlanes(int32_t width, int32_t height, int32_t depth);

/* Points `data` and every plane at the caller's `buffer` (plane k at
 * buffer + k*width*height*E*C). The buffer stays the caller's. Returns C,
 * the channel count of plane 0 (1 without planes). */
OX_API int32_t oxVolumeAssignData(oxVolume* volume, uint8_t* buffer);

/* Frees the plane headers, the `planes` array and the record, never
 * `data`, and nulls *volume. A null pointer is ignored. */
OX_API void oxVolumeReleaseHeader(oxVolume** volume);
/* Frees `data`, then as oxVolumeReleaseHeader. */
OX_API void oxVolumeRelease(oxVolume** volume);
/* Frees every plane with its buffer, the `planes` array and the record, and
 * nulls *volume. A null pointer is ignored. */
OX_API void oxVolumeReleaseWithSeparatePlanes(oxVolume** volume);

/* Writes the 32-bit form of `volume` (pointer slots zero) into `out32`;
 * returns `volume`. */
OX_API const oxVolume* oxVolumeCvtTo32(const oxVolume* volume, oxVolume32* out32);
/* Writes the sizes and roi of `in32` into `outVolume` with `data` and
 * `planes` null (whatever they held is not freed); returns `in32`. */
OX_API const oxVolume32* oxVolumeCvtFrom32(const oxVolume32* in32, oxVolume* outVolume);

/* ---- Dump file -------------------------------------------------------
 * A 48-byte oxVolume32 header, then E*width*height*depth bytes, plane
 * after plane (one element size per element, no channel factor). Both
 * variants write and read the same file. The caller opens and closes the
 * binary stream. */

/* Writes the header and the contiguous `data`. 0, or -1 when a write fails
 * (a volume of no elements, or without `data`, gives -1 after the header). */
OX_API int32_t oxVolumeDumpSave(const oxVolume* volume, FILE* stream);
/* Writes the header and each plane's buffer. 0 (also for depth 0), or -1
 * when a write fails or a plane has no buffer. */
OX_API int32_t oxVolumeDumpSaveWithSeparatePlanes(const oxVolume* volume, FILE* stream);
/* Reads a dump into a new contiguous OX_GRAY volume (release with
 * oxVolumeRelease), or null for a short, empty or inconsistent file. */
OX_API oxVolume* oxVolumeDumpLoad(FILE* stream);
/* Reads a dump into a new separate-planes volume (release with
 * oxVolumeReleaseWithSeparatePlanes), or null as above; a header of depth
 * 0 gives a volume without planes. */
OX_API oxVolume* oxVolumeDumpLoadWithSeparatePlanes(FILE* stream);

/* ---- Operations -------------------------------------------------------
 * Elements are read as the volume's type and returned as double (both
 * 32-bit integer types read as signed). Operations marked "contiguous"
 * walk `data`; the others go through the plane headers and accept both
 * layouts. No operation allocates. */

/* {width, height, depth}. */
OX_API oxSize3D oxVolumeSize(const oxVolume* volume);
/* Copies *roi into volume->roi unchecked; returns `volume`. */
OX_API oxVolume* oxVolumeSetROI(oxVolume* volume, const oxBox* roi);
/* roi = {0, 0, 0, width, height, depth}; returns `volume`. */
OX_API oxVolume* oxVolumeResetROI(oxVolume* volume);

/* Contiguous. Bounding box of the non-zero elements (a float NaN counts,
 * -0.0 does not). Sets *empty to 1, then to 0 when an element counts.
 * With nothing counted *out is {2147483647 x3, 3, 3, 3}: test *empty.
 * Returns 0; 1 for an unknown type or a missing `data` (out untouched). */
OX_API int32_t oxVolumeGetNonZeroROI(const oxVolume* volume, oxBox* out, int32_t* empty);

/* Converts plane k of `src` into plane k of `dst` with oxImageCvtType for
 * every plane of `src`. Returns 0, the first non-zero plane result (later
 * planes untouched), or 1 when `dst` has fewer planes than `src`. */
OX_API int32_t oxVolumeCvtType(const oxVolume* src, oxVolume* dst);
/* As oxVolumeCvtType with oxImageCvtTypeGivenRange(.., min, max); 1 when
 * the depths differ. */
OX_API int32_t oxVolumeCvtTypeGivenRange(const oxVolume* src, oxVolume* dst, double min, double max);

/* Element (p->x, p->y) of plane p->z (p->k is not read). 0.0 for an
 * unknown type or a position outside the volume. */
OX_API double oxVolumeGetVal(const oxVolume* volume, const oxPoint* p);
/* Trilinear value at (p->x, p->y, p->z): bilinear in plane trunc(z) and,
 * when z has a fraction, in the next plane, then linear in z. Neighbours
 * are read only on the sides with a non-zero fraction, so the last
 * element is readable. 0.0 for an unknown type or when an element it needs
 * lies outside the volume. */
OX_API double oxVolumeGetInterpolatedVal(const oxVolume* volume, const oxPoint3D* p);
/* Same as oxVolumeGetInterpolatedVal. */
OX_API double oxVolumeGetInterpolatedValPerPlane(const oxVolume* volume, const oxPoint3D* p);

/* Contiguous. Minimum and maximum over the roi, with the update rule of
 * oxImageGetMinMaxValues; starts from *min = DBL_MAX, *max = -DBL_MAX,
 * which an empty roi leaves in place. Plane p of the walk is shifted by
 * p*(width - roi.width) elements, on purpose. Returns 0; 1 for an unknown
 * type, a missing `data` or a walk that would leave the buffer. */
OX_API int32_t oxVolumeGetMinMaxValues(const oxVolume* volume, double* min, double* max);

/* Copies one section into the caller's OX_GRAY `image` of the volume's
 * type: axis 2 plane z = index (image width x height), axis 0 x = index
 * (image height x depth, row = z, column = y), axis 1 y = index (image
 * depth x width, row = x, column = z). Returns 0; 1 for another axis,
 * index, image size, encoding or type, or missing buffers. */
OX_API int32_t oxVolumeGetSlice(const oxVolume* volume, int32_t axis, int32_t index, oxImage* image);

/* Contiguous. Zeroes E*width*height*depth*C bytes of `data`. */
OX_API void oxVolumeSetZero(oxVolume* volume);
/* Contiguous. Fills width*height*depth elements with `value`: the integer
 * types take the low bits of the value truncated to int32 (300.7 -> 44
 * for OX_8U), OX_32F the nearest float. An unknown type writes nothing. */
OX_API void oxVolumeSetVal(oxVolume* volume, double value);
/* Contiguous. dst byte = 255 - src byte for OX_8U volumes of equal size;
 * in place allowed. Returns 0; 1 for another type, sizes or missing data. */
OX_API int32_t oxVolumeInvert(const oxVolume* src, oxVolume* dst);

/* The one mode of oxResize3D; the plain 0 works alike. */
enum { OX_RESIZE3D_TRILINEAR = 0 };

/* Trilinear resize of `src` into the contiguous bytes of `dst`: voxel
 * (x, y, z) samples src at (x / (dst width / src width), ...), clamped
 * into the source, truncated and stored as its low 8 bits. Returns 1
 * unless mode is OX_RESIZE3D_TRILINEAR (0), or when `dst` has planes but no byte buffer; 0
 * otherwise (also when `dst` has no planes). */
OX_API int32_t oxResize3D(const oxVolume* src, oxVolume* dst, int32_t mode);

/* Copies the roi of `src` into the roi of `dst`, plane by plane, with
 * oxImageCvtColor (same pixel type; encodings are converted). Returns 1
 * when the roi sizes differ or a roi plane lies outside a volume, else
 * the first non-zero plane result, which leaves both planes' roi set to
 * the volume roi; 0 on success, with the planes' roi put back. */
OX_API int32_t oxCopy3D(const oxVolume* src, oxVolume* dst);

OX_END_DECLS

#endif /* OX_VOLUME_H */
