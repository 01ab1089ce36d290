"""The three photographic effects on H x W x 3 uint8 arrays."""
import ctypes

import numpy as np

from ._core import check, check_array
from ._library import lib

_BYTES = ctypes.POINTER(ctypes.c_uint8)


def _run(img, out, channels, operation, call):
    """Checks the arrays, runs call(width, height, src, dst) and returns the result.

    The input is never written; `out` may be `img` itself (the effect then runs
    in place, as the library allows) but must not partly overlap it."""
    height, width, count = check_array(img, "img", dtypes=(np.dtype(np.uint8),))
    if count != 3 or img.ndim != 3:
        raise ValueError(f"img must be H x W x 3, not {img.shape}")
    if channels not in ("bgr", "rgb"):
        raise ValueError(f"channels must be 'bgr' or 'rgb', not {channels!r}")
    if out is not None:
        check_array(out, "out", dtypes=(np.dtype(np.uint8),))
        if out.shape != img.shape:
            raise ValueError(f"out has shape {out.shape}, img {img.shape}")
        if not out.flags.writeable:
            raise ValueError("out is read-only")
        same = out.ctypes.data == img.ctypes.data
        if not same and np.shares_memory(out, img):
            raise ValueError("out partly overlaps img")
    if channels == "bgr":
        dst = np.empty_like(img) if out is None else out
        check(call(width, height, img.ctypes.data_as(_BYTES), dst.ctypes.data_as(_BYTES)), operation)
        return dst
    # Not in place: some effects read pixels they have already rewritten, so
    # an in-place run would not give the bytes of the B, G, R call.
    src = np.ascontiguousarray(img[..., ::-1])
    dst = np.empty_like(src)
    check(call(width, height, src.ctypes.data_as(_BYTES), dst.ctypes.data_as(_BYTES)), operation)
    if out is None:
        return np.ascontiguousarray(dst[..., ::-1])
    out[...] = dst[..., ::-1]
    return out


def simplify(img, iterations=8, range_factor=0.01, saturation=0.3, *, channels="bgr", out=None):
    """Painterly simplification: `iterations` edge-preserving smoothing passes
    whose range sigma scales with `range_factor`, a local contrast lift and a
    saturation boost by 2 * `saturation` + 1 (none when `saturation` <= 0)."""
    return _run(img, out, channels, "oxYewSimplify",
                lambda w, h, s, d: lib.oxYewSimplify(w, h, s, d, int(iterations), range_factor, saturation))


def tiltshift(img, strength=0.3, lens=0.2, a=(0.2, 0.4), b=(0.8, 0.6), *, channels="bgr", out=None):
    """Miniature look: the ellipse around the band from point `a` to point `b`
    (fractions of width and height) stays sharp, the rest is blurred by
    `strength`; then a lens distortion of amount `lens` centred between them."""
    (ax, ay), (bx, by) = a, b
    return _run(img, out, channels, "oxYewTiltShift",
                lambda w, h, s, d: lib.oxYewTiltShift(w, h, s, d, strength, lens, ax, ay, bx, by))


def enhance(img, steepness=0.3, *, channels="bgr", out=None):
    """Automatic enhancement: histogram-driven contrast, then a local tone
    curve of slope `steepness` (0 or less leaves the curve out)."""
    return _run(img, out, channels, "oxYewEnhance",
                lambda w, h, s, d: lib.oxYewEnhance(w, h, s, d, steepness))
