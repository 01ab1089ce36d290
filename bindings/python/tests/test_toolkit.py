"""Image records over NumPy memory and the toolkit functions, on worked values."""
import ctypes
import gc

import numpy as np
import pytest

import yewwpfwrap as yew

PIXEL_TYPES = [  # dtype, code, element size
    (np.uint8, yew.raw.OX_8U, 1),
    (np.uint16, yew.raw.OX_16U, 2),
    (np.int32, yew.raw.OX_32S, 4),
    (np.uint32, yew.raw.OX_32U, 4),
    (np.float32, yew.raw.OX_32F, 4),
    (np.float64, yew.raw.OX_64F, 8),
]


@pytest.mark.parametrize("dtype, code, size", PIXEL_TYPES)
@pytest.mark.parametrize("shape, encoding, code_e, channels", [
    ((2, 5), None, yew.raw.OX_GRAY, 1),
    ((2, 5, 3), None, yew.raw.OX_BGR, 3),
    ((2, 5, 3), "rgb", yew.raw.OX_RGB, 3),
    ((2, 5, 4), "argb", yew.raw.OX_ARGB, 4),
    ((2, 5, 4), None, yew.raw.OX_RGBA, 4),
])
def test_from_numpy_describes_the_array(dtype, code, size, shape, encoding, code_e, channels):
    array = np.zeros(shape, dtype)
    with yew.Image.from_numpy(array, encoding) as image:
        assert (image.type, image.encoding, image.width, image.height) == (code, code_e, 5, 2)
        steps = (ctypes.c_int32 * 3)()
        yew.lib.oxImageExtractDerivedMembers(image.pointer, steps)
        assert list(steps) == [channels * size, 5 * channels * size, 0]
        assert image.to_numpy().shape == shape and image.to_numpy().dtype == np.dtype(dtype)


def test_from_numpy_and_to_numpy_share_memory():
    array = np.arange(2 * 3 * 3, dtype=np.uint8).reshape(2, 3, 3)
    result = np.zeros_like(array)
    with yew.Image.from_numpy(array) as src, yew.Image.from_numpy(result) as dst:
        array[0, 1] = (10, 20, 30)  # written after wrapping: the library sees it
        # (the inversion covers only the first width * height bytes, on purpose)
        assert yew.lib.oxImageInvert(src.pointer, dst.pointer) == 0
        assert tuple(result[0, 1]) == (245, 235, 225)
        view = dst.to_numpy()
        view[0, 0, 0] = 1
        assert result[0, 0, 0] == 1

    owned = yew.Image(4, 3, "gray", np.float32)
    view = owned.to_numpy()
    view[...] = 0.5
    del owned
    gc.collect()  # the view keeps the record and its pixels alive
    assert view.sum() == 6.0


def test_image_roi_and_refusals_of_wrapping():
    with yew.Image(6, 4, "bgr") as image:
        image.roi = (1, 2, 3, 2)
        assert image.roi == (1, 2, 3, 2)
        image.roi = None
        assert image.roi == (0, 0, 6, 4)
    with pytest.raises(ValueError):
        yew.Image.from_numpy(np.zeros((2, 2, 3), np.uint8), "rgba")
    with pytest.raises(TypeError):
        yew.Image.from_numpy(np.zeros((2, 2), np.int8))
    with pytest.raises(ValueError):
        yew.Image.from_numpy(np.zeros((2, 4), np.uint8)[:, ::2])


@pytest.mark.parametrize("pixel, encoding, grey", [
    ((10, 20, 30), "bgr", 22),
    ((30, 20, 10), "rgb", 22),  # channel 1 (blue) is byte 2 of an R, G, B pixel
    ((255, 0, 0), "bgr", 29),
    ((0, 0, 255), "bgr", 76),
])
def test_cvt_color_to_grey(pixel, encoding, grey):
    img = np.array([[pixel]], np.uint8)
    assert yew.cvt_color(img, "gray", encoding=encoding).tolist() == [[grey]]


def test_cvt_color_keeps_destination_alpha_and_float_scale():
    out = np.array([[[1, 2, 3, 4]]], np.uint8)
    yew.cvt_color(np.array([[77]], np.uint8), "rgba", out=out)
    assert out.tolist() == [[[77, 77, 77, 4]]]
    white = np.ones((1, 1, 3), np.float32)
    assert yew.cvt_color(white, "gray")[0, 0] == np.float32(0.998046875)
    with pytest.raises(ValueError):
        yew.cvt_color(white, "gray", out=np.zeros((1, 1), np.float64))


@pytest.mark.parametrize("value, src, dst, value_range, expected", [
    (255, np.uint8, np.uint16, None, 65280),  # times 256, not 257
    (255, np.uint8, np.uint32, None, 16711680),
    (1.5, np.float32, np.uint8, None, 126),  # low bits of 382, no clamp
    (0.5, np.float64, np.uint16, None, 32767),
    (4095, np.uint16, np.uint8, (0, 4095), 255),
    (2048, np.uint16, np.uint8, (0, 4095), 127),
    (5000, np.uint16, np.uint8, (0, 4095), 255),
    (1.0, np.float64, np.uint32, (0, 1), 1677215),
])
def test_cvt_type(value, src, dst, value_range, expected):
    img = np.full((2, 3), value, src)
    result = yew.cvt_type(img, dst, value_range=value_range)
    assert result.dtype == np.dtype(dst) and (result == expected).all()


def test_cvt_type_refusal_carries_the_status():
    with pytest.raises(yew.YewError) as info:
        yew.cvt_type(np.zeros((2, 2), np.uint8), np.uint8, value_range=(5, 5))
    assert info.value.status == yew.Status.REFUSED


def test_resize_modes(photos):
    img = next(iter(photos.values()))
    height, width = img.shape[:2]
    assert (yew.resize(img, width, height) == img).all()  # bilinear at equal size is exact
    small = np.array([[1, 2], [3, 4]], np.uint8)
    assert yew.resize(small, 4, 4, "nearest").tolist() == [[1, 1, 2, 2], [1, 1, 2, 2], [3, 3, 4, 4], [3, 3, 4, 4]]
    shrunk = yew.resize(img, width // 3, height // 3)
    assert shrunk.shape == (height // 3, width // 3, 3)
    with pytest.raises(yew.YewError):
        yew.resize(img, 10, 10, "lanczos")  # Lanczos works on float64 only
    assert yew.resize(img.astype(np.float64) / 255, 10, 10, "lanczos").max() <= 1.0
    with pytest.raises(ValueError):
        yew.resize(img, 10, 10, "cubic")


def test_box_blur_truncates_and_keeps_alpha():
    row = np.tile(np.array([0, 0, 255, 255], np.uint8), 4)
    img = np.repeat(row[None, :], 3, axis=0)
    blurred = yew.box_blur(img, 1, 0)
    assert blurred[0, 2:6].tolist() == [170, 170, 85, 85]  # (0+255+255)/3 truncated
    four = np.dstack([img, img, img, np.full_like(img, 9)])
    out = np.full_like(four, 200)
    yew.box_blur(four, out=out)
    assert (out[..., 3] == 200).all()


def test_long_operations_stop_on_the_abort_flag():
    img = np.zeros((16, 16, 3), np.uint8)
    flag = yew.AbortFlag()
    flag.abort()
    for call in (lambda: yew.box_blur(img, abort=flag), lambda: yew.lens(img, abort=flag)):
        with pytest.raises(yew.YewError) as info:
            call()
        assert info.value.status == yew.Status.ABORTED
    flag.reset()
    assert not flag.is_set
    yew.box_blur(img, abort=flag)
    with pytest.raises(TypeError):
        yew.box_blur(img, abort=1)


def test_gaussian_bilateral_and_lens_on_known_cases(photos):
    constant = np.full((20, 30), 0.25, np.float32)
    assert np.allclose(yew.gaussian_blur(constant, 3), 0.25, atol=1e-6)
    with pytest.raises(TypeError):
        yew.gaussian_blur(np.zeros((20, 30), np.uint16), 3)
    img = next(iter(photos.values()))
    assert (yew.bilateral(img, space_sigma=0.0) == img).all()  # the centre weighs alone
    assert not (yew.bilateral(img, space_sigma=3.0, range_sigma=0.1, radius=2) == img).all()
    # Amount 0 without the crop copies the interior; the last row and column stay 0.
    straight = yew.lens(img, amount=0.0, crop=False)
    assert (straight[:-1, :-1] == img[:-1, :-1]).all()
    assert not straight[-1].any() and not straight[:, -1].any()
