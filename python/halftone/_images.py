"""Turning what callers hand in into grey planes the library reads."""
import numpy as np

_EXPECTED = ("expected a uint8 array (0 black .. 255 white) or a float array in [0, 1] "
             "(0.0 black, 1.0 white), of shape H x W or P x H x W")
# PIL modes that are grey already or convert to grey without a choice to make, and
# the conversions that get them there (PIL turns La into L only through LA).
_GREY_MODES = {"L": (), "1": ("L",), "P": ("L",), "LA": ("L",), "La": ("LA", "L")}


def _from_pil(image):
    """A grey PIL image as a uint8 H x W array; ValueError for colour and deep modes."""
    mode = image.mode
    if mode not in _GREY_MODES:
        raise ValueError(
            f"a PIL image of mode {mode!r} is not a grey page: "
            + ("convert it with image.convert('L') or split it into planes"
               if mode in ("RGB", "RGBA", "CMYK", "YCbCr", "HSV", "LAB")
               else "scale it to 8 bits (mode 'L') first"))
    for step in _GREY_MODES[mode]:
        image = image.convert(step)
    return np.asarray(image, dtype=np.uint8)


def _is_pil(image):
    """Whether ``image`` is a PIL image (without importing PIL)."""
    return type(image).__module__.startswith("PIL.") and hasattr(image, "mode")


def grey_planes(image, allow_empty=False):
    """``image`` as a C-contiguous uint8 array of shape P x H x W, and whether it was 2-D.

    uint8 arrays are taken as they are; float arrays must hold values in
    [0, 1] and are scaled to 0..255 (rounded to nearest); PIL images of grey
    modes are converted; other array-likes (nested lists...) are accepted when
    they hold whole numbers 0..255. Anything else raises ValueError saying what
    was expected, as does an empty image unless ``allow_empty``.
    """
    if _is_pil(image):
        array = _from_pil(image)
    elif isinstance(image, np.ndarray):
        array = image
    else:
        try:
            array = np.asarray(image)
        except (ValueError, TypeError) as error:
            raise ValueError(f"cannot read the image as an array ({error}); {_EXPECTED}") from None
        if array.dtype.kind in "iu" and array.size:
            if array.min() < 0 or array.max() > 255:
                raise ValueError(f"values {array.min()}..{array.max()} out of 0..255; {_EXPECTED}")
            array = array.astype(np.uint8)
    if array.dtype.kind == "f":
        if not np.isfinite(array).all():
            raise ValueError(f"a float image holds NaN or infinite values; {_EXPECTED}")
        if array.size and (array.min() < 0.0 or array.max() > 1.0):
            raise ValueError(f"a float image must hold values in [0, 1], this one holds "
                             f"{array.min():g}..{array.max():g}; {_EXPECTED}")
        array = np.rint(array * 255.0).astype(np.uint8)
    elif array.dtype != np.uint8:
        hint = " (scale 16-bit pages with (a >> 8).astype(numpy.uint8))" \
            if array.dtype == np.uint16 else ""
        raise ValueError(f"an image of dtype {array.dtype} is not accepted{hint}; {_EXPECTED}")
    if array.ndim not in (2, 3):
        raise ValueError(f"an image of {array.ndim} dimensions {array.shape}; {_EXPECTED}")
    flat = array.ndim == 2
    planes = array[np.newaxis] if flat else array
    if 0 in planes.shape and not allow_empty:
        raise ValueError(f"the image is empty (shape {array.shape})")
    return np.ascontiguousarray(planes), flat
