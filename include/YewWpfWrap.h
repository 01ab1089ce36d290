/* Umbrella header of libYewWpfWrap: every public family at once. */
#ifndef YEWWPFWRAP_H
#define YEWWPFWRAP_H

#include "ox_export.h"
#include "ox_image.h"
#include "ox_color.h"
#include "ox_elementwise.h"
#include "ox_depth_image.h"
#include "ox_logger.h"
#include "ox_system.h"
#include "ox_files.h"
#include "ox_pixel.h"
#include "ox_threshold.h"
#include "ox_simplify.h"
#include "ox_tiltshift.h"
#include "ox_enhance.h"
#include "ox_transform.h"
#include "ox_convert.h"
#include "ox_volume.h"
#include "ox_function.h"
#include "ox_blur.h"
#include "ox_resize.h"
#include "ox_lens.h"
#include "ox_kernel.h"
#include "ox_convolution.h"
#include "ox_bilateral.h"
#include "ox_dump.h"

#endif /* YEWWPFWRAP_H */
