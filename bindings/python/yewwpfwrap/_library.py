"""Finds libYewWpfWrap and gives every declared function its prototype."""
import ctypes
import ctypes.util
import os
import pathlib

from . import _native

ENV_VARIABLE = "YEWWPFWRAP_LIBRARY"


def candidates():
    """Paths or names to try, in order: the environment variable (alone, so a
    wrong path is reported rather than silently replaced), a copy next to the
    package, then the system loader's search."""
    explicit = os.environ.get(ENV_VARIABLE)
    if explicit:
        return [explicit]
    here = pathlib.Path(__file__).resolve().parent
    local = sorted(str(p) for p in here.glob("libYewWpfWrap.so*"))
    if local:
        return local[:1]
    found = ctypes.util.find_library("YewWpfWrap")
    return [found] if found else ["libYewWpfWrap.so.0", "libYewWpfWrap.so"]


def load():
    errors = []
    for candidate in candidates():
        try:
            lib = ctypes.CDLL(candidate)
            break
        except OSError as e:
            errors.append(f"{candidate}: {e}")
    else:
        raise ImportError("libYewWpfWrap not found (set " + ENV_VARIABLE + " to its path): " + "; ".join(errors))
    missing = []
    for name, (restype, argtypes, _variadic) in _native.FUNCTIONS.items():
        try:
            function = getattr(lib, name)
        except AttributeError:
            missing.append(name)
            continue
        function.restype = restype
        # For the variadic logger call only the fixed arguments are typed;
        # ctypes passes the rest with its default conversions.
        function.argtypes = argtypes
    if missing:
        raise ImportError(f"{lib._name} lacks functions the bindings declare: {', '.join(missing)}")
    return lib


lib = load()


def global_variable(name):
    """The exported global `name` as a ctypes object over the library's memory."""
    return _native.GLOBALS[name].in_dll(lib, name)
