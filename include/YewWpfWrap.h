/* Umbrella header of libYewWpfWrap: every public family at once. */
#ifndef YEWWPFWRAP_H
#define YEWWPFWRAP_H

#include "ox_export.h"
#include "ox_image.h"
#include "ox_color.h"
#include "ox_elementwise.h"
#include "ox_convert.h"
#include "ox_dump.h"

#endif /* YEWWPFWRAP_H */
