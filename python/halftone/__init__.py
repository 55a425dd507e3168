"""Halftone screening from Python: NumPy pages in, dot codes out.

    import numpy as np
    import halftone

    page = np.tile(np.arange(256, dtype=np.uint8), (64, 1))     # 64 x 256, 0 black .. 255 white
    codes = halftone.screen(page, "tone-push", seed_time=1000)  # 64 x 256 of 0/1, 1 = dot
    rows = halftone.pack(codes, 1)                              # the library's packed rows

``screens()`` lists the library's registry; ``screen()`` screens a page (H x
W, or P x H x W planes) through a job of its own, so threads may screen at
once; ``Job`` feeds a page band by band; ``pack``/``unpack`` convert between
codes and the library's packed rows; ``halftone.batch`` screens page files on
a dask.distributed cluster. Every call goes through the library's C functions
(see ``halftone._library`` for where the library is found).
"""
from ._library import (ERR_ARGUMENT, ERR_BAD_DATA, ERR_BAD_VALUE, ERR_FILE_OPEN,
                       ERR_FILE_READ, ERR_LOAD_FAULT, ERR_NO_MEMORY, ERR_SEQUENCE,
                       ERR_UNKNOWN_KEY, Error)
from ._library import library as _load_library
from ._packing import pack, row_bytes, unpack
from ._screening import Job, Screen, find_screen, screen, screens

__all__ = ["screens", "find_screen", "screen", "Job", "Screen", "pack", "unpack", "row_bytes",
           "Error", "library_path", "library_version", "ERR_FILE_OPEN", "ERR_FILE_READ",
           "ERR_LOAD_FAULT", "ERR_NO_MEMORY", "ERR_ARGUMENT", "ERR_UNKNOWN_KEY",
           "ERR_BAD_VALUE", "ERR_BAD_DATA", "ERR_SEQUENCE"]
__version__ = "0.1.0"


def library_path():
    """The path of the shared library this module uses (loading it if need be)."""
    return _load_library().path


def library_version():
    """The shared library's version, "MAJOR.MINOR.PATCH"."""
    return _load_library().halftone_version().decode()
