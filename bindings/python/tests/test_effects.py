"""The effects against the same calls made from C, and their argument checks."""
import numpy as np
import pytest

import yewwpfwrap as yew

# (case, binding call, reference arguments); the first three are the
# binding's defaults written out for the C side.
DEFAULTS = [
    ("simplify", lambda img, **kw: yew.simplify(img, **kw), ("simplify", 8, 0.01, 0.3)),
    ("tiltshift", lambda img, **kw: yew.tiltshift(img, **kw), ("tiltshift", 0.3, 0.2, 0.2, 0.4, 0.8, 0.6)),
    ("enhance", lambda img, **kw: yew.enhance(img, **kw), ("enhance", 0.3)),
]
# Each argument in its own place: a swapped pair changes the bytes.
OTHERS = [
    ("simplify 2 passes, no saturation", lambda img: yew.simplify(img, 2, 0.05, 0.0), ("simplify", 2, 0.05, 0.0)),
    ("tiltshift asymmetric band, no lens",
     lambda img: yew.tiltshift(img, 0.5, 0.0, a=(0.1, 0.15), b=(0.9, 0.5)),
     ("tiltshift", 0.5, 0.0, 0.1, 0.15, 0.9, 0.5)),
    ("tiltshift lens only", lambda img: yew.tiltshift(img, strength=0.0, lens=-0.3, a=(0.3, 0.2)),
     ("tiltshift", 0.0, -0.3, 0.3, 0.2, 0.8, 0.6)),
    ("enhance contrast only", lambda img: yew.enhance(img, 0.0), ("enhance", 0.0)),
]


def assert_same(expected, actual, what):
    assert actual.shape == expected.shape and actual.dtype == np.uint8, what
    diff = np.argwhere(actual != expected)
    assert diff.size == 0, f"{what}: first difference at (y, x, channel) {tuple(diff[0])}"


@pytest.mark.parametrize("name, call, ref", DEFAULTS, ids=[c[0] for c in DEFAULTS])
def test_defaults_match_c_on_every_photograph(photos, reference, name, call, ref):
    for photo, img in photos.items():
        before = img.copy()
        status, expected = reference(ref[0], img, *ref[1:])
        assert status == 0
        assert_same(expected, call(img), f"{name} on {photo}")
        assert_same(before, img, f"{name} on {photo}: input untouched")


@pytest.mark.parametrize("name, call, ref", OTHERS, ids=[c[0] for c in OTHERS])
def test_parameters_reach_c_in_order(photos, reference, name, call, ref):
    img = next(iter(photos.values()))
    status, expected = reference(ref[0], img, *ref[1:])
    assert status == 0
    assert_same(expected, call(img), name)


@pytest.mark.parametrize("name, call, ref", DEFAULTS, ids=[c[0] for c in DEFAULTS])
def test_rgb_channels_and_out(photos, name, call, ref):
    img = next(iter(photos.values()))
    expected = call(img)
    # R, G, B input with channels="rgb" gives the B, G, R result flipped.
    rgb = np.ascontiguousarray(img[..., ::-1])
    assert_same(expected[..., ::-1], call(rgb, channels="rgb"), f"{name} rgb")
    out = np.full_like(img, 7)
    assert call(img, out=out) is out
    assert_same(expected, out, f"{name} out=")
    out_rgb = np.zeros_like(img)
    assert call(rgb, channels="rgb", out=out_rgb) is out_rgb
    assert_same(expected[..., ::-1], out_rgb, f"{name} rgb out=")


def test_in_place_equals_the_c_in_place_run(photos):
    # Enhance reads only pixels it has not written yet, so in place and out of
    # place agree; the binding must hand the same buffer twice, not a copy.
    img = next(iter(photos.values())).copy()
    expected = yew.enhance(img)
    assert yew.enhance(img, out=img) is img
    assert_same(expected, img, "enhance in place")


def _error_cases():
    ok = np.zeros((8, 8, 3), np.uint8)
    big = np.zeros((8, 16, 3), np.uint8)
    read_only = np.zeros((8, 8, 3), np.uint8)
    read_only.setflags(write=False)
    return [
        ("list", [[0, 0, 0]], {}, TypeError),
        ("float pixels", ok.astype(np.float32), {}, TypeError),
        ("uint16 pixels", ok.astype(np.uint16), {}, TypeError),
        ("grey", np.zeros((8, 8), np.uint8), {}, ValueError),
        ("four channels", np.zeros((8, 8, 4), np.uint8), {}, ValueError),
        ("empty", np.zeros((0, 8, 3), np.uint8), {}, ValueError),
        ("column slice", big[:, ::2], {}, ValueError),
        ("fortran order", np.asfortranarray(ok), {}, ValueError),
        ("bad channels", ok, {"channels": "grb"}, ValueError),
        ("out wrong shape", ok, {"out": np.zeros((8, 9, 3), np.uint8)}, ValueError),
        ("out wrong dtype", ok, {"out": np.zeros((8, 8, 3), np.int32)}, TypeError),
        ("out read-only", ok, {"out": read_only}, ValueError),
    ]


@pytest.mark.parametrize("effect", [yew.simplify, yew.tiltshift, yew.enhance])
@pytest.mark.parametrize("case", _error_cases(), ids=lambda c: c[0])
def test_bad_arguments_raise_before_the_call(effect, case):
    _, img, kwargs, error = case
    with pytest.raises(error):
        effect(img, **kwargs)


def test_partly_overlapping_out_is_refused():
    buffer = np.zeros(8 * 8 * 3 + 6, np.uint8)
    img = buffer[:192].reshape(8, 8, 3)
    out = buffer[6:198].reshape(8, 8, 3)
    with pytest.raises(ValueError, match="overlap"):
        yew.enhance(img, out=out)


@pytest.mark.parametrize("effect", [yew.simplify, yew.tiltshift, yew.enhance])
def test_refusal_raises_yew_error_with_the_status(effect):
    # The library refuses pictures smaller than 4 x 4 pixels.
    with pytest.raises(yew.YewError) as info:
        effect(np.zeros((3, 3, 3), np.uint8))
    assert info.value.status == yew.Status.REFUSED
    assert "refused" in str(info.value)
