"""The ctypes declarations against the C compiler's layout of every record
and against the library's exported names, both ways."""
import ctypes
import os
import subprocess
import sys

import pytest

import yewwpfwrap as yew
from yewwpfwrap import _native


@pytest.fixture(scope="module")
def probe():
    records = {}
    lines = subprocess.run([os.environ["OX_LAYOUT_PROBE"]], check=True, capture_output=True, text=True).stdout
    for line in lines.splitlines():
        words = line.split()
        if words[0] == "record":
            records[words[1]] = (int(words[2]), {})
        else:
            records[words[1]][1][words[2]] = (int(words[3]), int(words[4]))
    return records


def test_every_record_has_the_c_layout(probe):
    assert len(probe) >= 30
    assert set(probe) == set(_native.RECORDS)
    for name, (size, fields) in probe.items():
        cls = _native.RECORDS[name]
        assert ctypes.sizeof(cls) == size, name
        assert [f[0] for f in cls._fields_] == list(fields), name
        for field, (offset, field_size) in fields.items():
            descriptor = getattr(cls, field)
            assert (descriptor.offset, descriptor.size) == (offset, field_size), f"{name}.{field}"


def test_every_export_is_declared_and_every_declaration_resolves():
    listing = subprocess.run(["nm", "-D", "--defined-only", os.environ["OX_LIBRARY"]],
                             check=True, capture_output=True, text=True).stdout
    exported = {w[2] for w in (line.split() for line in listing.splitlines()) if len(w) == 3 and "@" not in w[2]}
    declared = set(_native.FUNCTIONS) | set(_native.GLOBALS)
    assert len(exported) > 250
    assert sorted(exported - declared) == [], "exported but not declared"
    assert sorted(declared - exported) == [], "declared but not exported"
    for name in _native.GLOBALS:
        assert ctypes.addressof(yew.global_variable(name)) != 0


def test_globals_share_the_library_memory():
    saved = yew.lib.oxSystemInfoGetNumberOfCores()
    try:
        yew.lib.oxSystemInfoSetNumberOfCores(3)
        assert yew.global_variable("number_of_cores").value == 3
        yew.global_variable("number_of_cores").value = 5
        assert yew.lib.oxSystemInfoGetNumberOfCores() == 5
    finally:
        yew.lib.oxSystemInfoSetNumberOfCores(saved)
    table = yew.global_variable("ox_toGray_tab")
    assert (table[255], table[511], table[767]) == (255 * 1868 + 8192, 255 * 9617, 255 * 4899)


def test_records_and_by_value_results_cross_the_boundary():
    image = yew.lib.oxImageCreateWithType(7, 5, yew.raw.OX_RGBA, yew.raw.OX_16U)
    try:
        yew.lib.oxImageSetROI(image, ctypes.byref(yew.raw.oxRect(1, 2, 3, 2)))
        size = yew.lib.oxImageSize(image)
        assert (size.width, size.height) == (7, 5)
        derived = (ctypes.c_int32 * 3)()
        yew.lib.oxImageExtractDerivedMembers(image, derived)
        assert list(derived) == [8, 56, 32]
        # A double result and a record by pointer; a bool result is one byte.
        mapped = yew.lib.backTranslation(ctypes.byref(yew.raw.oxPoint2D(1.5, 2.0)),
                                         ctypes.byref(yew.raw.oxBackTranslation(0.25, -1.0)))
        assert (mapped.x, mapped.y) in ((1.75, 1.0), (1.25, 3.0))
        assert yew.lib.oxImportImageFunctionIsSetted() is False
    finally:
        yew.lib.oxImageRelease(ctypes.byref(image))
    assert not image


def test_library_location(tmp_path):
    # An explicit path is used alone: a wrong one is an error, not a fallback.
    env = dict(os.environ, YEWWPFWRAP_LIBRARY=str(tmp_path / "missing.so"))
    done = subprocess.run([sys.executable, "-c", "import yewwpfwrap"], env=env, capture_output=True, text=True)
    assert done.returncode != 0 and "missing.so" in done.stderr
    # A copy next to the package is found without the variable.
    package = tmp_path / "yewwpfwrap"
    package.mkdir()
    source = os.path.dirname(yew.__file__)
    for name in os.listdir(source):
        if name.endswith(".py"):
            (package / name).write_bytes(open(os.path.join(source, name), "rb").read())
    os.symlink(os.environ["OX_LIBRARY"], package / "libYewWpfWrap.so")
    env = {k: v for k, v in os.environ.items() if k not in ("YEWWPFWRAP_LIBRARY", "LD_LIBRARY_PATH")}
    env["PYTHONPATH"] = str(tmp_path)
    done = subprocess.run([sys.executable, "-c", "import yewwpfwrap as y; print(y.lib._name)"],
                          env=env, capture_output=True, text=True, check=True)
    assert done.stdout.strip() == str(package / "libYewWpfWrap.so")
