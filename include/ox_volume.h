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

OX_END_DECLS

#endif /* OX_VOLUME_H */
