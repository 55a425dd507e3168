"""Finding and binding the shared library.

The library is looked up, first match wins:

1. in this package's own folder, where ``pip install`` copies the library it
   was built against (``libhalftone.so*``, ``libhalftone*.dylib``,
   ``halftone*.dll`` from MSVC, ``libhalftone*.dll`` from MinGW);
2. at the path in the environment variable ``HALFTONE_LIBRARY``;
3. through the system loader (``libhalftone.so.0``, then whatever
   ``ctypes.util.find_library("halftone")`` names).

Only the library's C functions are bound. ctypes releases the global
interpreter lock for the length of every call into the library, so threads
screening their own jobs run side by side.
"""
import ctypes
import ctypes.util
import glob
import os
import sys
import threading

_HERE = os.path.dirname(os.path.abspath(__file__))
_PATTERNS = ("libhalftone.so*", "libhalftone*.dylib", "halftone*.dll", "libhalftone*.dll")
_SYSTEM_NAMES = {"win32": "halftone.dll", "darwin": "libhalftone.0.dylib"}

# Result codes the library returns (enum halftone_result).
OK = 0
ERR_FILE_OPEN = 20101
ERR_FILE_READ = 20103
ERR_LOAD_FAULT = 20301
ERR_NO_MEMORY = 20302
ERR_ARGUMENT = 20401
ERR_UNKNOWN_KEY = 20402
ERR_BAD_VALUE = 20403
ERR_BAD_DATA = 20404
ERR_SEQUENCE = 20405

# Layouts and bandings (enum halftone_layout, enum halftone_banding).
LAYOUTS = ("same", "transposed", "rotated")
BANDINGS = ("whole-page", "banded", "carried")
# What a screen reads besides the source, by flag bit (enum halftone_needs).
NEEDS = ("tone-curves", "levels", "pattern", "pattern2", "matrix", "blocks", "built-matrix")


class Error(RuntimeError):
    """The library refused or failed a job.

    ``code`` is the library's result code (one of the ``ERR_*`` constants of
    this module, or None where the library gave none) and ``message`` its
    explanation.
    """

    def __init__(self, code, message):
        super().__init__(code, message)
        self.code = code
        self.message = message

    def __str__(self):
        return self.message if self.code is None else f"{self.message} (code {self.code})"


class _ScreenInfo(ctypes.Structure):
    """struct halftone_screen_info."""

    _fields_ = [
        ("id", ctypes.c_char_p),
        ("entry", ctypes.c_char_p),
        ("family", ctypes.c_char_p),
        ("bits", ctypes.c_int),
        ("layout", ctypes.c_int),
        ("banding", ctypes.c_int),
        ("needs", ctypes.c_uint),
        ("levels", ctypes.c_int),
        ("pattern_width", ctypes.c_int),
        ("pattern_height", ctypes.c_int),
        ("summary", ctypes.c_char_p),
        ("default_levels", ctypes.c_char_p),
        ("paper_bits", ctypes.c_int),
        ("top_code", ctypes.c_int),
    ]


_u32 = ctypes.c_uint32
_job = ctypes.c_void_p
_PROTOTYPES = {
    "halftone_screen_count": (ctypes.c_size_t, []),
    "halftone_screen_info_at": (ctypes.POINTER(_ScreenInfo), [ctypes.c_size_t]),
    "halftone_find_screen": (ctypes.c_long, [ctypes.c_char_p]),
    "halftone_version": (ctypes.c_char_p, []),
    "halftone_row_bytes": (ctypes.c_size_t, [_u32, ctypes.c_int]),
    "halftone_last_error": (ctypes.c_char_p, []),
    "halftone_job_new": (_job, [ctypes.c_char_p, _u32, _u32]),
    "halftone_job_set": (ctypes.c_int, [_job, ctypes.c_char_p, ctypes.c_char_p]),
    "halftone_job_output_shape": (ctypes.c_int, [_job, _u32, ctypes.POINTER(_u32),
                                                 ctypes.POINTER(_u32),
                                                 ctypes.POINTER(ctypes.c_size_t)]),
    "halftone_job_band": (ctypes.c_int, [_job, ctypes.c_void_p, ctypes.c_size_t,
                                         ctypes.c_void_p, ctypes.c_size_t, _u32]),
    "halftone_job_finish": (ctypes.c_int, [_job]),
    "halftone_job_error": (ctypes.c_char_p, [_job]),
    "halftone_job_free": (None, [_job]),
}

_lock = threading.Lock()
_bound = None


def candidates():
    """The places the library is looked for, in order (see the module's notes)."""
    found = []
    for pattern in _PATTERNS:
        found += sorted(glob.glob(os.path.join(_HERE, pattern)))
    env = os.environ.get("HALFTONE_LIBRARY")
    if env:
        found.append(env)
    found.append(_SYSTEM_NAMES.get(sys.platform, "libhalftone.so.0"))
    named = ctypes.util.find_library("halftone")
    if named:
        found.append(named)
    return found


def _bind(path):
    """Loads the library at ``path`` and declares its C functions' types."""
    lib = ctypes.CDLL(path)
    for name, (restype, argtypes) in _PROTOTYPES.items():
        function = getattr(lib, name)  # AttributeError: not this library's C API
        function.restype = restype
        function.argtypes = argtypes
    return lib


def library():
    """The bound library, loaded on first use; OSError when none is found."""
    global _bound
    if _bound is None:
        with _lock:
            if _bound is None:
                tried = []
                for path in candidates():
                    try:
                        lib = _bind(path)
                    except (OSError, AttributeError) as error:
                        tried.append(f"  {path}: {error}")
                        continue
                    lib.path = path
                    _bound = lib
                    break
                else:
                    raise OSError("halftone: no usable shared library found; tried:\n"
                                  + "\n".join(tried)
                                  + "\nset HALFTONE_LIBRARY to the path of libhalftone.so")
    return _bound


def text(value):
    """A C string from the library as str ("" for NULL)."""
    return value.decode("utf-8", "replace") if value else ""
