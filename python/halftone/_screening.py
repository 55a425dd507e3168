"""The screen registry and screening jobs, over the library's C functions."""
import collections
import ctypes
import difflib
import os
import threading

import numpy as np

from . import _library
from ._images import grey_planes
from ._library import Error, library, text
from ._packing import unpack_rows

Screen = collections.namedtuple(
    "Screen", "id entry family bits layout banding needs levels pattern_size summary "
    "default_levels paper_bits top_code", defaults=(None, False, 1))
Screen.__doc__ = """One row of the library's registry.

id: readable name (lower-case, kebab-case); entry: the fixed entry point name;
family: "diffusion", "matrix", "damped", "multilevel", "loaded" or "utilities";
bits: output bits a pixel (1, 2 or 4); layout: "same", "transposed" or
"rotated" (turned screens give a W x H page); banding: "whole-page" (one
plane, one call), "banded" or "carried" (error runs on from band to band);
needs: names of what it reads besides the source ("tone-curves", "levels",
"pattern", "pattern2", "matrix", "blocks", "built-matrix"); levels: how many
values the levels option takes (0: none); pattern_size: (width, height) of
the pattern banks it reads, None when any size goes; summary: one line;
default_levels: the levels used when none are given (evenly spread), as a
list, None when it reads none; paper_bits: True where a set output bit is
paper and a clear one a dot (the inverted-output screens); top_code: the code
of a full dot, the darkest a cell holds (1 for dots, 3 for two-bit codes, 7
for four-bit codes)."""

_registry = None
_registry_lock = threading.Lock()

# Keyword options of screen() and Job, and the job keys they set.
OPTION_KEYS = {
    "levels": "levels",
    "mode": "mode",
    "seed_time": "seed-time",
    "data_folder": "data-folder",
    "pattern": "pattern",
    "pattern2": "pattern2",
    "pattern_size": "pattern-size",
    "matrix": "matrix",
    "blocks": "blocks",
    "threads": "threads",
}
_PATH_OPTIONS = {"data_folder", "pattern", "pattern2", "matrix", "blocks"}
_INT_OPTIONS = {"mode", "seed_time", "threads"}


def _row(info):
    """A ``Screen`` from a struct halftone_screen_info."""
    needs = tuple(name for bit, name in enumerate(_library.NEEDS) if info.needs & (1 << bit))
    size = (info.pattern_width, info.pattern_height) if info.pattern_width else None
    return Screen(text(info.id), text(info.entry), text(info.family), info.bits,
                  _library.LAYOUTS[info.layout], _library.BANDINGS[info.banding], needs,
                  info.levels, size, text(info.summary),
                  [int(v) for v in text(info.default_levels).split(",")]
                  if info.default_levels else None, bool(info.paper_bits), info.top_code)


def screens():
    """Every screen and utility of the library, as a tuple of ``Screen`` rows, in registry order."""
    global _registry
    if _registry is None:
        lib = library()
        with _registry_lock:
            if _registry is None:
                _registry = tuple(_row(lib.halftone_screen_info_at(i).contents)
                                  for i in range(lib.halftone_screen_count()))
    return _registry


def find_screen(name):
    """The ``Screen`` row named ``name`` (its id or its entry name).

    Raises KeyError naming the closest known names when there is none.
    """
    if isinstance(name, Screen):
        return name
    if not isinstance(name, str):
        raise TypeError(f"a screen is named by a str, not {type(name).__name__}")
    try:
        encoded = name.encode()
    except UnicodeEncodeError:
        encoded = None
    # A NUL would end the name early in C: "tone-push\0x" is no screen.
    index = library().halftone_find_screen(encoded) \
        if encoded is not None and b"\0" not in encoded else -1
    if index >= 0:
        return screens()[index]
    names = [s.id for s in screens()] + [s.entry for s in screens()]
    close = difflib.get_close_matches(name, names, n=3, cutoff=0.7) or \
        difflib.get_close_matches(name.lower(), [n.lower() for n in names], n=3, cutoff=0.7)
    hint = f"; did you mean {', '.join(close)}?" if close else \
        "; halftone.screens() lists them"
    raise KeyError(f"no screen named {name!r}{hint}")


def _whole_number(name, value, low, high):
    """``value`` as an int in low..high; ValueError naming ``name`` otherwise."""
    if isinstance(value, (bool, np.bool_)) or not isinstance(value, (int, np.integer)):
        raise ValueError(f"{name} must be a whole number, not {value!r}")
    if not low <= value <= high:
        raise ValueError(f"{name} must be {low}..{high}, not {value}")
    return int(value)


def _option_value(name, value):
    """The job value (bytes) for keyword option ``name``."""
    encoded = _option_bytes(name, value)
    if b"\0" in encoded:  # C would read the value only up to it
        raise ValueError(f"{name} holds a NUL character: {value!r}")
    return encoded


def _option_bytes(name, value):
    """``_option_value`` before the check for NUL characters."""
    if name in _PATH_OPTIONS:
        try:
            return os.fsencode(value)
        except TypeError:
            raise ValueError(f"{name} must be a path, not {value!r}") from None
    if name in _INT_OPTIONS:
        return str(_whole_number(name, value, 0, 0xFFFFFFFF)).encode()
    if name == "levels" and not isinstance(value, str):
        try:
            values = [_whole_number("a level", v, 0, 255) for v in value]
        except TypeError:
            raise ValueError(f"levels must be a list of greys 0-255 or a string "
                             f"like '0,85,170,255', not {value!r}") from None
        value = ",".join(map(str, values))
    if name == "pattern_size" and not isinstance(value, str):
        try:
            width, height = value
        except (TypeError, ValueError):
            raise ValueError(f"pattern_size must be (width, height) or 'WxH', "
                             f"not {value!r}") from None
        value = f"{_whole_number('pattern width', width, 1, 0xFFFF)}x" \
                f"{_whole_number('pattern height', height, 1, 0xFFFF)}"
    if not isinstance(value, str):
        raise ValueError(f"{name} must be a str, not {value!r}")
    return value.encode()


class Job:
    """One screen's job on pages ``width`` pixels wide with ``planes`` planes.

    Options are the keywords of ``halftone.screen`` (levels, mode, seed_time,
    data_folder, pattern, pattern2, pattern_size, matrix, blocks, threads).
    Feed a page with ``band`` (rows of every plane, top to bottom), end it with
    ``finish``; the job may then take another page. A job owns all its
    working state, so jobs in different threads run at once; one job is used
    by one thread at a time (calls on the same job wait for each other).
    Close it with ``close`` or use it as a context manager.
    """

    def __init__(self, screen, width, planes=1, **options):
        self.screen = find_screen(screen)
        self.width = _whole_number("width", width, 1, 0xFFFFFFFF)
        self.planes = _whole_number("planes", planes, 1, 255)
        if self.screen.banding == "whole-page" and self.planes != 1:
            raise ValueError(f"{self.screen.id} screens one plane, not {self.planes}")
        self._lock = threading.Lock()
        self._lib = library()
        self._handle = self._lib.halftone_job_new(self.screen.id.encode(), self.width,
                                                  self.planes)
        if not self._handle:
            raise Error(None, text(self._lib.halftone_last_error()) or "the job was refused")
        try:
            for name, value in options.items():
                if value is not None:
                    self.set(name, value)
        except BaseException:
            self.close()
            raise

    def set(self, name, value):
        """Sets option ``name`` (a keyword of ``halftone.screen``) while no page is under way."""
        if name not in OPTION_KEYS:
            raise TypeError(f"unknown option {name!r}; options are {', '.join(OPTION_KEYS)}")
        encoded = _option_value(name, value)
        with self._lock:
            code = self._lib.halftone_job_set(self._live(), OPTION_KEYS[name].encode(), encoded)
            if code in (_library.ERR_BAD_VALUE, _library.ERR_ARGUMENT,
                        _library.ERR_UNKNOWN_KEY):
                raise ValueError(f"{name}={value!r}: {self._error()}")
            self._check(code)

    def output_shape(self, rows):
        """(width, rows, row bytes) of the output of a band of ``rows`` source rows, the row
        bytes those of the library's packed rows (padded to 32 bits) that ``band`` returns."""
        rows = _whole_number("rows", rows, 0, 0xFFFFFFFF)
        out_width, out_rows = ctypes.c_uint32(), ctypes.c_uint32()
        with self._lock:
            self._check(self._lib.halftone_job_output_shape(
                self._live(), rows, ctypes.byref(out_width), ctypes.byref(out_rows), None))
        size = self._lib.halftone_row_bytes(out_width.value, self.screen.bits)
        return out_width.value, out_rows.value, size

    def band(self, planes):
        """Screens the next rows of the page.

        ``planes``: uint8 array P x n x W (or n x W for one plane) holding the
        next n rows of every plane, read as ``halftone.screen`` reads images
        (floats in [0, 1] are scaled; other dtypes raise ValueError). Returns
        the packed output rows, a uint8 array of shape (out_rows * P) x
        row_bytes, planes line-interleaved.
        """
        planes, _ = grey_planes(planes, allow_empty=True)
        return self._band(planes, None, None)

    def _band(self, planes, source, dots):
        """``band`` on P x n x W planes, through the given buffers where they are
        large enough (a page's bands reuse them; pass None to make new ones).
        Returns the packed rows, a view of ``dots`` or a new array."""
        count, rows, width = planes.shape
        if count != self.planes or width != self.width:
            raise ValueError(f"a band of {count} plane(s) {width} wide for a job of "
                             f"{self.planes} plane(s) {self.width} wide")
        stride = self._lib.halftone_row_bytes(width, 8)
        # Rows past the band's last pixel stay zero: only [:width] is written.
        if source is None or source.shape[0] < rows:
            source = np.zeros((rows, count, stride), np.uint8)
        source[:rows, :, :width] = planes.transpose(1, 0, 2)
        _, out_rows, size = self.output_shape(rows)
        if dots is None or dots.shape[0] < out_rows * count:
            dots = np.zeros((out_rows * count, size), np.uint8)
        with self._lock:
            self._check(self._lib.halftone_job_band(self._live(), source.ctypes.data, stride,
                                                    dots.ctypes.data, size, rows))
        return dots[:out_rows * count]

    def finish(self):
        """Ends the page (the last-band step); the job may then start another."""
        with self._lock:
            self._check(self._lib.halftone_job_finish(self._live()))

    def page(self, planes, band_height=64):
        """Screens a whole page P x H x W (or H x W) in bands; returns its codes, P x H' x W'.

        Whole-page screens and the turned utilities take the page in one call.
        """
        band_height = _whole_number("band_height", band_height, 1, 0xFFFFFFFF)
        planes, _ = grey_planes(planes, allow_empty=True)
        height = planes.shape[1]
        if self.screen.banding == "whole-page" or self.screen.layout != "same":
            band_height = height
        out_width, out_height, _ = self.output_shape(height)
        codes = np.empty((self.planes, out_height, out_width), np.uint8)
        # One source and one output buffer serve every band.
        rows = min(band_height, height)
        source = np.zeros((rows, self.planes, self._lib.halftone_row_bytes(self.width, 8)),
                          np.uint8)
        _, out_rows, size = self.output_shape(rows)
        dots = np.zeros((out_rows * self.planes, size), np.uint8)
        y = done = 0
        while y < height:
            packed = self._band(planes[:, y:y + band_height], source, dots)
            band = unpack_rows(packed, out_width, self.screen.bits)
            n = band.shape[0] // self.planes
            codes[:, done:done + n] = band.reshape(n, self.planes, out_width).transpose(1, 0, 2)
            done += n
            y += band_height
        self.finish()
        return codes

    def close(self):
        """Frees the job; later calls raise ValueError."""
        with self._lock:
            if getattr(self, "_handle", None):
                self._lib.halftone_job_free(self._handle)
                self._handle = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        if getattr(self, "_lock", None) is not None:
            self.close()

    def _live(self):
        """The job's handle; ValueError once closed."""
        if not self._handle:
            raise ValueError("the job is closed")
        return self._handle

    def _error(self):
        """Why the job's last call failed."""
        return text(self._lib.halftone_job_error(self._handle)) or "no reason given"

    def _check(self, code):
        """``halftone.Error`` for a non-zero result code."""
        if code:
            raise Error(code, f"{self.screen.id}: {self._error()}")


def screen(image, screen, levels=None, seed_time=None, band_height=64, pattern=None,
           pattern2=None, matrix=None, blocks=None, mode=None, threads=None,
           pattern_size=None, data_folder=None):
    """Screens a page and returns its codes.

    image: uint8 array (0 black .. 255 white) H x W, or P x H x W for P
        planes; a float array in [0, 1] (0.0 black, 1.0 white) is scaled; a
        grey PIL image or a nested list of 0..255 is converted.
    screen: a screen's id or entry name (see ``screens()``).
    levels: the greys the screen's levels are set to, a list (``[0, 85, 170,
        255]``) or a string ("0,85,170,255"); default evenly spread.
    seed_time: the clock second the random screens seed from (default: the
        clock), which makes them repeatable.
    band_height: rows a band, as the program's --band-height (screens that
        reseed on every band give results that depend on it).
    pattern, pattern2, matrix, blocks: paths of the data files the screen
        reads (one-bit and two-bit pattern banks, a BMP threshold matrix, a
        threshold-block text file); pattern_size: (width, height) of the banks.
    mode: tone-curve mode, 0-5 or 11-17. threads: planes screened at once (same result).
    data_folder: where the tone curve file and relative data names are found.

    Returns a uint8 array of the image's shape holding codes (0/1 for one-bit
    screens, 0-3 and 0-15 for two- and four-bit ones; 1 and higher codes are
    ink); transposed and rotated utilities return the turned shape (W x H).
    Raises KeyError for an unknown screen, ValueError for a bad image or
    option, ``halftone.Error`` (with the library's code) when the job fails.
    """
    planes, flat = grey_planes(image)
    count, _, width = planes.shape
    options = dict(levels=levels, seed_time=seed_time, pattern=pattern, pattern2=pattern2,
                   matrix=matrix, blocks=blocks, mode=mode, threads=threads,
                   pattern_size=pattern_size, data_folder=data_folder)
    with Job(screen, width, count, **options) as job:
        codes = job.page(planes, band_height)
    return codes[0] if flat else codes
