// The separable convolution as internal operations over typed views: what
// the exported shells of convolution.cpp call once they have checked the
// host's records, and what a pipeline calls directly (the tilt-shift blur:
// an 8-bit BGR image in place). Each operation picks its instruction-set
// path at run time; every path gives the bytes of the plain reference.
#pragma once

#include <cstdint>

#include "convolution/detail/kernel_rules.hpp"
#include "convolution/detail/samples.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_kernel.h"

namespace ox::detail {

// The weights and border rule of both axes of a kernel, ready for images
// of one size. The taps point into the caller's kernel, or into the
// normalised copy this holds when the kernel asks for one: valid while
// both live.
struct PreparedKernel {
    KernelPtr normalized;
    sep::Taps x{};
    sep::Taps y{};
};

// Prepares `kernel` (not null) for width x height images: normalised when
// its normalize flag is 1 and it is not normalised yet. Refused when it
// cannot be normalised, lacks kernelX or kernelY, has an unknown border
// rule or a negative radius, or when an axis is shorter than its 2r+1
// taps (or so long that length + r leaves int32).
Status prepareKernel(const oxSepKernel* kernel, int32_t width, int32_t height, PreparedKernel& out);

// Element indices of channels 1, 2 and 3 inside a pixel (an encoding's
// channel offsets in elements). BGR order is {0, 1, 2}.
struct ChannelPlaces {
    int32_t at[3];
};
inline constexpr ChannelPlaces kBgrPlaces{{0, 1, 2}};

// Separable convolution of src into dst: the horizontal pass with k.x into
// a float intermediate, the vertical pass with k.y into dst, all in single
// precision with every sum taken from 0 in tap order (8-bit results clamped
// and truncated, NaN to 255; doubles narrowed before weighting).
// Preconditions: src and dst have the same width and height, which k was
// prepared for; both have one channel (places ignored) or both have 3 or 4
// channels with channels 1 to 3 at the given places (a fourth channel of
// dst is never written). src and dst either share no memory or are the
// same pixels with the same places (in place). Refused only when scratch
// memory runs out; dst is then untouched.
template <class T>
Status separableConvolution(ConstView<T> src, View<T> dst, const PreparedKernel& k,
                            ChannelPlaces srcPlaces = kBgrPlaces, ChannelPlaces dstPlaces = kBgrPlaces);

// The single passes over one plane of w x h samples and the w x h float
// intermediate (rows packed). The symmetric forms weigh both sides of the
// centre with the taps from the centre to the right end, one product per
// pair of mirrored taps on the reference path; on a symmetric kernel they
// give the bytes of the general form. `scratch` (w x h floats) is the
// symmetric vertical form's work area. Preconditions: taps prepared for
// the line lengths. Refused only when scratch memory runs out.
template <class T> Status horizontalPass(ConstView<T> src, float* dst, const sep::Taps& t, bool symmetric);
template <class T>
Status verticalPass(const float* src, float* scratch, View<T> dst, const sep::Taps& t, bool symmetric);

}  // namespace ox::detail
