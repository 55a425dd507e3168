"""Pages in (arrays, floats, lists, PIL images) and packed rows out, without the library."""
import numpy as np
import pytest
from PIL import Image

import halftone
from halftone._images import grey_planes

RNG = np.random.default_rng(7)


@pytest.mark.parametrize("bits", [1, 2, 4])
@pytest.mark.parametrize("shape", [(1, 1), (3, 7), (5, 33), (2, 4, 9), (3, 2, 64),
                                   (0, 6), (0, 3, 5), (2, 0, 5)])
def test_pack_round_trip_and_row_size(bits, shape):
    codes = RNG.integers(0, 1 << bits, shape).astype(np.uint8)
    planes = 1 if len(shape) == 2 else shape[0]
    rows = halftone.pack(codes, bits)
    assert rows.shape == (shape[-2] * planes, ((shape[-1] * bits + 31) // 32) * 4)
    if planes:
        back = halftone.unpack(rows.tobytes(), shape[-1], bits, planes=planes)
        np.testing.assert_array_equal(back, codes)


@pytest.mark.parametrize("bits, codes, packed", [
    (1, [[1, 0, 1, 1, 0, 0, 0, 0, 1]], [0b10110000, 0b10000000, 0, 0]),
    (2, [[3, 0, 1, 2, 1]], [0b11000110, 0b01000000, 0, 0]),
    (4, [[15, 1, 2]], [0xF1, 0x20, 0, 0]),
    # Two planes line-interleaved: row 0 of plane 0, row 0 of plane 1, row 1 of plane 0...
    (1, [[[1], [0]], [[0], [1]]], [[0x80, 0, 0, 0], [0, 0, 0, 0], [0, 0, 0, 0], [0x80, 0, 0, 0]]),
])
def test_pack_leftmost_pixel_in_high_bits(bits, codes, packed):
    assert halftone.pack(codes, bits).tolist() == np.reshape(packed, (-1, 4)).tolist()


@pytest.mark.parametrize("image, expected", [
    (np.array([[0, 128, 255]], np.uint8), [[0, 128, 255]]),
    (np.array([[0.0, 0.5, 1.0, 0.2]], np.float32), [[0, 128, 255, 51]]),
    ([[0, 7, 255]], [[0, 7, 255]]),
    (Image.fromarray(np.array([[3, 200]], np.uint8), "L"), [[3, 200]]),
    (Image.new("1", (2, 1), 1), [[255, 255]]),
    (Image.new("La", (2, 1), (100, 255)), [[100, 100]]),
])
def test_accepted_images(image, expected):
    planes, flat = grey_planes(image)
    assert flat and planes.dtype == np.uint8 and planes.flags.c_contiguous
    assert planes[0].tolist() == expected


@pytest.mark.parametrize("image, message", [
    (np.zeros((2, 2), np.uint16), "dtype uint16.*16-bit"),
    (np.zeros((2, 2), np.int64), "dtype int64 is not accepted; expected a uint8 array"),
    (np.array([[0.0, 1.5]]), r"in \[0, 1\], this one holds 0..1.5"),
    ([[0, 256]], "out of 0..255"),
    (np.zeros(5, np.uint8), "1 dimensions"),
    (np.zeros((0, 4), np.uint8), "empty"),
    (Image.new("RGB", (2, 2)), "convert it with image.convert"),
    (Image.new("I;16", (2, 2)), "scale it to 8 bits"),
])
def test_refused_images_say_what_was_expected(image, message):
    with pytest.raises(ValueError, match=message):
        grey_planes(image)
