"""The toolkit calls people reach for, as functions on NumPy arrays.

Each function takes a C-contiguous array of a library pixel type (uint8,
uint16, int32, uint32, float32, float64) shaped H x W (grey) or H x W x C;
`encoding` names the channel order of a colour array ('bgr', the default for
3 channels, 'rgb', 'argb', or 'rgba', the default for 4). The input is never
written; the result is a new array unless `out=` gives one. A refusal of the
library raises YewError with its status."""
import ctypes

import numpy as np

from . import _native as raw
from ._core import CHANNELS, TYPES, Image, abort_pointer, check, check_array, encoding_code
from ._library import lib

RESIZE_MODES = {"nearest": -1, "bilinear": 0, "lanczos": 1}


def _shape(height, width, channels):
    return (height, width) if channels == 1 else (height, width, channels)


def _destination(out, shape, dtype):
    if out is None:
        return np.zeros(shape, dtype)
    check_array(out, "out")
    if out.shape != tuple(shape) or out.dtype != np.dtype(dtype):
        raise ValueError(f"out must be {tuple(shape)} {np.dtype(dtype)}, not {out.shape} {out.dtype}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    return out


def _same_size_call(img, encoding, out, operation, call, dtypes=None):
    """call(src_image, dst_image) on a destination shaped like the source."""
    height, width, channels = check_array(img, "img", dtypes)
    code = encoding_code(encoding, channels)
    dst = _destination(out, img.shape, img.dtype)
    if dst is not img and np.shares_memory(dst, img) and dst.ctypes.data != img.ctypes.data:
        raise ValueError("out partly overlaps img")
    with Image.from_numpy(img, code) as src_image, Image.from_numpy(dst, code) as dst_image:
        check(call(src_image.pointer, dst_image.pointer), operation)
    return dst


def cvt_color(img, to, *, encoding=None, out=None):
    """Converts between grey and the colour encodings (same pixel type).
    Grey is the library's fixed-point weighted sum; a 4-channel destination
    keeps the alpha it had (0 in a new array)."""
    height, width, channels = check_array(img, "img")
    src_code = encoding_code(encoding, channels)
    dst_code = encoding_code(to)
    dst = _destination(out, _shape(height, width, CHANNELS[dst_code]), img.dtype)
    with Image.from_numpy(img, src_code) as s, Image.from_numpy(dst, dst_code) as d:
        check(lib.oxImageCvtColor(s.pointer, d.pointer), "oxImageCvtColor")
    return dst


def cvt_type(img, dtype, *, value_range=None, encoding=None, out=None):
    """Converts to another pixel type: by the types' nominal ranges (shifts and
    fixed scales, no clamping), or, with value_range=(low, high), stretching
    [low, high] onto the destination's full range with clamping."""
    height, width, channels = check_array(img, "img")
    dtype = np.dtype(dtype)
    if dtype not in TYPES:
        raise TypeError(f"dtype {dtype} is not a library pixel type")
    code = encoding_code(encoding, channels)
    dst = _destination(out, img.shape, dtype)
    with Image.from_numpy(img, code) as s, Image.from_numpy(dst, code) as d:
        if value_range is None:
            check(lib.oxImageCvtType(s.pointer, d.pointer), "oxImageCvtType")
        else:
            low, high = value_range
            check(lib.oxImageCvtTypeGivenRange(s.pointer, d.pointer, float(low), float(high)),
                  "oxImageCvtTypeGivenRange")
    return dst


def resize(img, width, height, mode="bilinear", *, encoding=None, out=None):
    """Resamples to width x height: 'nearest' (any type), 'bilinear' (uint8)
    or 'lanczos' (float64 in 0..1)."""
    _, _, channels = check_array(img, "img")
    if mode not in RESIZE_MODES:
        raise ValueError(f"mode must be one of {', '.join(RESIZE_MODES)}, not {mode!r}")
    if int(width) < 1 or int(height) < 1:
        raise ValueError(f"size must be positive, not {width} x {height}")
    code = encoding_code(encoding, channels)
    dst = _destination(out, _shape(int(height), int(width), channels), img.dtype)
    with Image.from_numpy(img, code) as s, Image.from_numpy(dst, code) as d:
        check(lib.oxResize(s.pointer, d.pointer, RESIZE_MODES[mode], None), "oxResize")
    return dst


def box_blur(img, radius_x=1, radius_y=None, *, encoding=None, out=None, abort=None):
    """Mean over a (2 radius_x + 1) x (2 radius_y + 1) window, truncated, with
    mirrored borders (uint8). A 4-channel image keeps out's fourth channel."""
    params = raw.oxBlurParams(int(radius_x), int(radius_x if radius_y is None else radius_y))
    flag = abort_pointer(abort)
    return _same_size_call(img, encoding, out, "oxBlurFilter",
                           lambda s, d: lib.oxBlurFilter(ctypes.byref(params), s, d, flag),
                           dtypes=(np.dtype(np.uint8),))


def gaussian_blur(img, radius, sigma=None, *, encoding=None, out=None):
    """Separable Gaussian of the given radius (sigma from the radius unless
    given), single-precision arithmetic, expanded borders (uint8, float32,
    float64). A 4-channel image keeps out's fourth channel."""
    if sigma is None:
        kernel = lib.oxSepKernelGaussian(int(radius))
    else:
        kernel = lib.oxSepKernelGaussianFromSigma(int(radius), float(sigma))
    if not kernel:
        raise ValueError(f"no Gaussian kernel of radius {radius}")
    try:
        return _same_size_call(img, encoding, out, "oxSeparableConvolutionFilter",
                               lambda s, d: lib.oxSeparableConvolutionFilter(s, d, kernel),
                               dtypes=tuple(np.dtype(t) for t in (np.uint8, np.float32, np.float64)))
    finally:
        lib.oxSepKernelRelease(ctypes.byref(kernel))


def bilateral(img, space_sigma=10.0, range_sigma=1.0, radius=1, *, value_scale=1.0, encoding=None, out=None):
    """Edge-preserving smoothing over a (2 radius + 1)^2 window: spatial
    Gaussian of space_sigma pixels times a range Gaussian of range_sigma
    (1.0 = 255 levels). uint8 grey or colour, or float64 grey."""
    params = lib.oxBilateralParamsDefault()
    if not params:
        raise MemoryError("oxBilateralParamsDefault failed")
    try:
        p = params.contents
        p.spaceSigma, p.rangeSigma, p.radius, p.valueScale = space_sigma, range_sigma, int(radius), value_scale
        return _same_size_call(img, encoding, out, "oxBilateralFilter",
                               lambda s, d: lib.oxBilateralFilter(params, s, d))
    finally:
        lib.oxBilateralParamsRelease(ctypes.byref(params))


def lens(img, amount=0.5, center=(0.5, 0.5), crop=True, *, encoding=None, out=None, abort=None):
    """Radial lens distortion of strength `amount` about `center` (fractions
    of width and height); with crop the defined region is scaled back to the
    full size (uint8)."""
    params = raw.oxLensDistortionParams(amount, center[0], center[1], 1 if crop else 0)
    flag = abort_pointer(abort)
    return _same_size_call(img, encoding, out, "oxLensDistortionFilter",
                           lambda s, d: lib.oxLensDistortionFilter(ctypes.byref(params), s, d, flag),
                           dtypes=(np.dtype(np.uint8),))


__all__ = ["cvt_color", "cvt_type", "resize", "box_blur", "gaussian_blur", "bilateral", "lens"]
