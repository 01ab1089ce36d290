"""Images, statuses and abort flags shared by the effects and the toolkit."""
import ctypes
import enum

import numpy as np

from . import _native as raw
from ._library import lib

ENCODINGS = {"gray": raw.OX_GRAY, "bgr": raw.OX_BGR, "rgb": raw.OX_RGB, "argb": raw.OX_ARGB, "rgba": raw.OX_RGBA}
CHANNELS = {raw.OX_GRAY: 1, raw.OX_BGR: 3, raw.OX_RGB: 3, raw.OX_ARGB: 4, raw.OX_RGBA: 4}
TYPES = {
    np.dtype(np.uint8): raw.OX_8U,
    np.dtype(np.uint16): raw.OX_16U,
    np.dtype(np.int32): raw.OX_32S,
    np.dtype(np.uint32): raw.OX_32U,
    np.dtype(np.float32): raw.OX_32F,
    np.dtype(np.float64): raw.OX_64F,
}
DTYPES = {code: dtype for dtype, code in TYPES.items()}
INT32_MAX = 2**31 - 1


class Status(enum.IntEnum):
    """Statuses of the library's functions; a filter may pass up other codes."""

    WRITE_FAILED = -1
    OK = 0
    REFUSED = 1
    ABORTED = 2


class YewError(RuntimeError):
    """A library call returned a status other than 0."""

    def __init__(self, status, operation):
        try:
            self.status = Status(status)
            text = f"{int(status)} ({self.status.name.lower().replace('_', ' ')})"
        except ValueError:
            self.status = int(status)
            text = str(int(status))
        super().__init__(f"{operation} returned {text}")


def check(status, operation):
    if status != 0:
        raise YewError(status, operation)


class AbortFlag:
    """An int the long operations poll; abort() from another thread stops them."""

    def __init__(self):
        self._cell = ctypes.c_int32(0)

    def abort(self):
        self._cell.value = 1

    def reset(self):
        self._cell.value = 0

    @property
    def is_set(self):
        return self._cell.value != 0

    @property
    def pointer(self):
        return ctypes.pointer(self._cell)


def abort_pointer(abort):
    if abort is None:
        return None
    if not isinstance(abort, AbortFlag):
        raise TypeError(f"abort must be an AbortFlag or None, not {type(abort).__name__}")
    return abort.pointer


def encoding_code(encoding, channels=None):
    """Encoding code from a name or code; None picks one by channel count."""
    if encoding is None:
        defaults = {1: raw.OX_GRAY, 3: raw.OX_BGR, 4: raw.OX_RGBA}
        if channels not in defaults:
            raise ValueError(f"no encoding has {channels} channels")
        return defaults[channels]
    if isinstance(encoding, str):
        if encoding.lower() not in ENCODINGS:
            raise ValueError(f"unknown encoding {encoding!r}; one of {', '.join(ENCODINGS)}")
        code = ENCODINGS[encoding.lower()]
    else:
        code = int(encoding)
        if code not in CHANNELS:
            raise ValueError(f"unknown encoding code {code}")
    if channels is not None and CHANNELS[code] != channels:
        raise ValueError(f"encoding {encoding!r} has {CHANNELS[code]} channels, the array {channels}")
    return code


def check_array(array, name="img", dtypes=None):
    """Shape (H, W) or (H, W, C) of a C-contiguous array of a library pixel type."""
    if not isinstance(array, np.ndarray):
        raise TypeError(f"{name} must be a numpy.ndarray, not {type(array).__name__}")
    if array.dtype not in TYPES or (dtypes is not None and array.dtype not in dtypes):
        allowed = ", ".join(str(d) for d in (dtypes or TYPES))
        raise TypeError(f"{name} has dtype {array.dtype}; expected one of {allowed}")
    if array.ndim not in (2, 3):
        raise ValueError(f"{name} must be H x W or H x W x C, not {array.ndim}-dimensional")
    if not array.flags.c_contiguous:
        raise ValueError(f"{name} is not C-contiguous; pass numpy.ascontiguousarray({name})")
    height, width = array.shape[:2]
    if height < 1 or width < 1:
        raise ValueError(f"{name} is empty ({height} x {width})")
    if height > INT32_MAX or width > INT32_MAX:
        raise ValueError(f"{name} is too large for the library ({height} x {width})")
    return height, width, (array.shape[2] if array.ndim == 3 else 1)


class Image:
    """An oxImage record: owned (pixels allocated by the library) or a header
    over a NumPy array's memory (from_numpy). to_numpy() views the pixels
    without copying; the view keeps the Image alive. close() (or leaving a
    `with` block) releases the record at once; views must not be used after."""

    def __init__(self, width, height, encoding="bgr", dtype=np.uint8):
        dtype = np.dtype(dtype)
        if dtype not in TYPES:
            raise TypeError(f"dtype {dtype} is not a library pixel type")
        code = encoding_code(encoding)
        self._ptr = lib.oxImageCreateWithType(int(width), int(height), code, TYPES[dtype])
        if not self._ptr:
            raise MemoryError(f"oxImageCreateWithType({width}, {height}) failed")
        self._owner = True
        self._array = None

    @classmethod
    def from_numpy(cls, array, encoding=None):
        """A header over `array`'s memory (which the Image keeps alive); the
        library writes into the array when the Image is a destination."""
        height, width, channels = check_array(array, "array")
        code = encoding_code(encoding, channels)
        self = cls.__new__(cls)
        self._ptr = lib.oxImageCreateHeaderWithType(width, height, code, TYPES[array.dtype])
        if not self._ptr:
            raise MemoryError("oxImageCreateHeaderWithType failed")
        self._ptr.contents.data = array.ctypes.data_as(ctypes.POINTER(ctypes.c_uint8))
        self._owner = False
        self._array = array
        return self

    @property
    def pointer(self):
        """POINTER(oxImage) for calls through yewwpfwrap.lib."""
        if not self._ptr:
            raise ValueError("the image was closed")
        return self._ptr

    @property
    def record(self):
        return self.pointer.contents

    width = property(lambda self: self.record.width)
    height = property(lambda self: self.record.height)
    encoding = property(lambda self: self.record.encoding)
    type = property(lambda self: self.record.type)
    channels = property(lambda self: CHANNELS[self.record.encoding])
    dtype = property(lambda self: DTYPES[self.record.type])

    @property
    def roi(self):
        r = self.record.roi
        return (r.x, r.y, r.width, r.height)

    @roi.setter
    def roi(self, value):
        if value is None:
            lib.oxImageResetROI(self.pointer)
        else:
            lib.oxImageSetROI(self.pointer, ctypes.byref(raw.oxRect(*value)))

    def to_numpy(self):
        """The pixels as an array sharing the image's memory."""
        r = self.record
        shape = (r.height, r.width) if self.channels == 1 else (r.height, r.width, self.channels)
        dtype = self.dtype
        owner = self

        class View:  # its __array_interface__ points at the pixels; it holds the Image
            __array_interface__ = {
                "shape": shape,
                "typestr": dtype.str,
                "data": (ctypes.cast(r.data, ctypes.c_void_p).value, False),
                "version": 3,
            }
            image = owner

        return np.asarray(View())

    def close(self):
        if getattr(self, "_ptr", None):
            (lib.oxImageRelease if self._owner else lib.oxImageReleaseHeader)(ctypes.byref(self._ptr))
            self._ptr = None
            self._array = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:  # noqa: BLE001 - at interpreter exit the library may be gone already
            pass

    def __repr__(self):
        if not getattr(self, "_ptr", None):
            return "<Image closed>"
        names = {v: k for k, v in ENCODINGS.items()}
        return f"<Image {self.width} x {self.height} {names.get(self.encoding)} {self.dtype}>"
