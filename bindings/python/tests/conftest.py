"""Paths handed in by the build (see bindings/CMakeLists.txt) and the
photographs, decoded once by the C reference program."""
import os
import pathlib
import subprocess

import numpy as np
import pytest


def _env(name):
    value = os.environ.get(name)
    if not value:
        pytest.fail(f"{name} is not set (run the tests through ctest)")
    return value


@pytest.fixture(scope="session")
def reference(tmp_path_factory):
    """reference(effect, img, *params) -> (status, bytes) from the C entry point."""
    program = _env("OX_REFERENCE")
    work = tmp_path_factory.mktemp("reference")

    def run(effect, img, *params):
        src, dst = work / "in.bgr", work / "out.bgr"
        src.write_bytes(img.tobytes())
        height, width = img.shape[:2]
        # Hexadecimal floats: the value ctypes hands the library, exactly.
        args = [str(p) if isinstance(p, int) else float(np.float32(p)).hex() for p in params]
        done = subprocess.run([program, effect, str(src), str(dst), str(width), str(height), *args],
                              check=True, capture_output=True, text=True)
        return int(done.stdout), np.frombuffer(dst.read_bytes(), np.uint8).reshape(img.shape)

    return run


@pytest.fixture(scope="session")
def photos(tmp_path_factory):
    """name -> H x W x 3 uint8 B, G, R array; a synthetic picture when no
    photograph was fetched."""
    program = _env("OX_REFERENCE")
    folder = pathlib.Path(os.environ.get("OX_PHOTO_DIR", ""))
    work = tmp_path_factory.mktemp("photos")
    found = {}
    for path in sorted(folder.glob("*")) if folder.is_dir() else []:
        if path.suffix.lower() not in (".png", ".jpg", ".jpeg"):
            continue
        raw = work / (path.name + ".bgr")
        done = subprocess.run([program, "decode", str(path), str(raw)], check=True, capture_output=True, text=True)
        width, height = map(int, done.stdout.split())
        found[path.name] = np.frombuffer(raw.read_bytes(), np.uint8).reshape(height, width, 3).copy()
    if not found:
        rng = np.random.default_rng(7)
        ramp = np.add.outer(np.arange(211), np.arange(317)) % 256
        found["synthetic"] = (ramp[..., None] + rng.integers(0, 40, (211, 317, 3))).astype(np.uint8)
    return found
