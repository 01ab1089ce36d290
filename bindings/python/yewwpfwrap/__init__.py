"""NumPy bindings of libYewWpfWrap.

    import yewwpfwrap as yew
    out = yew.simplify(img)   # img: H x W x 3 uint8, blue-green-red

`yewwpfwrap.lib` is the library with every function's ctypes prototype and
`yewwpfwrap.raw` holds its records, callback types and constants, for calls
the functions here do not cover."""
from . import _native as raw
from ._core import AbortFlag, Image, Status, YewError
from ._library import global_variable, lib
from .effects import enhance, simplify, tiltshift
from .ops import bilateral, box_blur, cvt_color, cvt_type, gaussian_blur, lens, resize

__all__ = [
    "AbortFlag", "Image", "Status", "YewError", "lib", "raw", "global_variable",
    "simplify", "tiltshift", "enhance",
    "cvt_color", "cvt_type", "resize", "box_blur", "gaussian_blur", "bilateral", "lens",
]
