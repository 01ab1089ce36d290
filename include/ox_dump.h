/* Raw image dump: a 40-byte header (type, encoding, height, width, a zero
 * word, roi.x, roi.y, roi.width, roi.height, coi; 32-bit integers in the
 * machine's byte order) followed by the whole pixel buffer. The caller opens
 * the stream in binary mode and closes it; several dumps may follow each
 * other in one stream. */
#ifndef OX_DUMP_H
#define OX_DUMP_H

#include <stdio.h>

#include "ox_image.h"

OX_BEGIN_DECLS

/* Writes the header and then the whole buffer (ROI and coi are recorded,
 * not applied). Returns 0 when both writes complete, -1 as soon as one does
 * not. An image that no load could read back (no pixels: a zero or
 * negative size, an unknown type, an invalid encoding, null data; or more
 * than 2^31-1 channel values) writes nothing and returns -1. */
OX_API int32_t oxImageDumpSave(const oxImage* image, FILE* stream);

/* Reads one dump from the current position and leaves the stream right
 * after it. Returns a new image (release with oxImageRelease) carrying the
 * saved ROI and coi, or null when the header or the pixels are short, when
 * the header describes no pixels (unknown type, invalid encoding, a zero or
 * negative size) or more than 2^31-1 channel values, or when memory runs
 * out; nothing stays allocated then. A header that announces more bytes
 * than a short stream holds costs no large allocation. */
OX_API oxImage* oxImageDumpLoad(FILE* stream);

OX_END_DECLS

#endif /* OX_DUMP_H */
