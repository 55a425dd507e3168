"""Python access to the halftone screening library through ctypes.

    import halftone
    lib = halftone.Library()                 # $HALFTONE_LIBRARY, or build/libhalftone.so
    lib.pin_seed_time(1000)                  # repeatable random screens
    lib.tone_setup(2, "0,85,170,255,")       # curves and levels, for the screens that read them
    dots = lib.screen_page("sdiufiavs", grey, width, height, planes=1, band_height=64)
    codes = lib.unpack("sdiufiavs", dots, width, height, planes=1)

`grey` is width x height x planes bytes, row by row, planes interleaved row by
row (row r of plane p is row r * planes + p), 0 black to 255 white. The
screened page comes back as the library writes it: rows padded to 32 bits.
"""
import ctypes
import os

# Entry points by argument types, encoded as the platform's C++ compiler
# decorates free functions: Ph unsigned char*, RS_ a reference to the first
# one, i int, j unsigned int, Pi int*, PKc char const*, v nothing.
_SIGNED = "PhS_iij"
_UNSIGNED = "PhS_jjj"
_ENTRIES = {
    **{n: _SIGNED for n in (
        "jsdi6yruis sdiufiavs mandfanes orangecagn Kaocosyx1 Kaocosyx13 Kaocosyx14 FastGroup "
        "RoundFaxest ArcistPump Kaishanxing SymanOpening RoundPump Sonicksure TextDownload "
        "WindowText WindowTextAM CrisixOut31").split()},
    **{n: _UNSIGNED for n in (
        "irpduix7sg sdiufiavs1 highforces Kaocosyx Kaocosyx10 suiruiskao suiruiskao2 suiruiskao3 "
        "suiruiskao4 suiruiskao5 suiruiskao6 suiruiskao7 suiruiskao8 suiruiskao9 suiruiskao10 "
        "suiruiskao11 sdiufiavs2 sdiufiavs3 sdiufiavs4 RoundFaxest__ FastGroup1 RoundPump1 "
        "MutexWindow MutexWindow_Bak WindowTextAM1 CrisixOut CrisixOut_double").split()},
    "hxkjsdi67x": "PhS_jj",
    "xinskdn34skx": "PhS_jjS_", "shdeiznc45kdi": "PhS_jjS_",
    **{n: "PhS_iiPiS_" for n in "kajdjigc23kdh tishduth29dmc fdxin324c nchsuw56xd".split()},
    **{n: "PhRS_iiPiS_" for n in "ixndiwkc76y sdicxx78xy ghskdjiekld".split()},
    **{n: "PKcii" for n in "KaiDuaning NingJing PuaningFa PuaningFa13 NiceMents PuaningFaAM".split()},
    **{n: "v" for n in "SincesKai khjhusecx giwncwcg7w DouMaxing DuanKougb YountTrue".split()},
    "sinxcdke34i": "j",
    "Itsdiufiavs": "iPKc",
}
_BITS = {**{n: 2 for n in ("FastGroup FastGroup1 ArcistPump Kaishanxing SymanOpening RoundFaxest "
                           "RoundFaxest__ Kaocosyx13 Kaocosyx14 TextDownload").split()},
         "RoundPump": 4, "RoundPump1": 4}
_TRANSPOSED = {"tishduth29dmc", "ixndiwkc76y", "sdicxx78xy", "ghskdjiekld"}


def decorated(name, params, namespace=None):
    """The exported symbol of a function with the given encoded parameters."""
    inner = f"{len(name)}{name}"
    if namespace:
        return f"_ZN{len(namespace)}{namespace}{inner}E{params}"
    return f"_Z{inner}{params}"


def stride(width, bits=1):
    """Bytes a row of `width` pixels takes at `bits` a pixel (rows padded to 32 bits)."""
    return ((width * bits + 31) >> 3) & ~3


class Library:
    def __init__(self, path=None):
        here = os.path.dirname(os.path.abspath(__file__))
        path = path or os.environ.get("HALFTONE_LIBRARY") or os.path.join(
            here, "..", "build", "libhalftone.so")
        self._lib = ctypes.CDLL(path)
        self.entry = {n: getattr(self._lib, decorated(n, p)) for n, p in _ENTRIES.items()}
        for f in self.entry.values():
            f.restype = ctypes.c_int
        self._pin = getattr(self._lib, decorated("pin_seed_time", "j", "halftone"))
        self._unpin = getattr(self._lib, decorated("unpin_seed_time", "v", "halftone"))
        self._folder = getattr(self._lib, decorated("set_data_folder", "PKc", "halftone"))
        self._pin.argtypes = [ctypes.c_uint32]
        self._folder.argtypes = [ctypes.c_char_p]

    def pin_seed_time(self, seconds):
        self._pin(seconds)

    def unpin_seed_time(self):
        self._unpin()

    def set_data_folder(self, folder):
        self._folder(None if folder is None else os.fsencode(folder))

    def tone_setup(self, mode=0, parameters=""):
        return self.entry["Itsdiufiavs"](ctypes.c_int(mode), parameters.encode())

    def load(self, loader, file_name, pattern_width=0, pattern_height=0):
        return self.entry[loader](file_name.encode(), pattern_width, pattern_height)

    def bits(self, name):
        return _BITS.get(name, 1)

    def screen_page(self, name, grey, width, height, planes=1, band_height=64):
        """Screens a whole page with `name`, band by band for the banded screens."""
        grey = bytes(grey)
        if len(grey) != width * height * planes:
            raise ValueError(f"{name}: expected {width * height * planes} bytes of grey")
        sig = _ENTRIES.get(name)
        if sig not in (_SIGNED, _UNSIGNED, "PhS_jj", "PhS_jjS_", "PhS_iiPiS_", "PhRS_iiPiS_"):
            raise ValueError(f"{name} is not a screen")
        src_stride = stride(width, 8)
        rows = height * planes
        src = (ctypes.c_ubyte * (src_stride * rows))()
        for r in range(rows):
            ctypes.memmove(ctypes.byref(src, r * src_stride), grey[r * width:(r + 1) * width], width)
        out_w, out_h = (height, width) if name in _TRANSPOSED else (width, height)
        out_stride = stride(out_w, self.bits(name))
        out = (ctypes.c_ubyte * (out_stride * out_h * planes))()
        f = self.entry[name]
        if sig in (_SIGNED, _UNSIGNED):
            bands = range(0, height, band_height) if height else [0]
            for y in bands:
                n = min(band_height, height - y)
                band = 1 if y == 0 else (3 if y + n >= height else 2)
                f(ctypes.byref(src, y * planes * src_stride),
                  ctypes.byref(out, y * planes * out_stride), width, n,
                  ctypes.c_uint(planes << 8 | band << 16))
        elif planes != 1:
            raise ValueError(f"{name} screens one plane")
        elif sig == "PhS_jj":
            f(src, out, width, height)
        elif sig == "PhS_jjS_":
            tone = (ctypes.c_ubyte * 256)(*range(256))
            f(src, out, width, height, tone)
        else:
            tone = (ctypes.c_int * 256)(*range(256))
            target = ctypes.cast(out, ctypes.POINTER(ctypes.c_ubyte))
            ref = ctypes.byref(target) if sig == "PhRS_iiPiS_" else out
            f(src, ref, width, height, tone, None)
        return bytes(out)

    def unpack(self, name, dots, width, height, planes=1):
        """The page's pixels as codes (0/1 for dots), row by row, planes interleaved."""
        bits = self.bits(name)
        w, h = (height, width) if name in _TRANSPOSED else (width, height)
        s, per_byte, mask = stride(w, bits), 8 // bits, (1 << bits) - 1
        return [[(dots[r * s + x // per_byte] >> ((per_byte - 1 - x % per_byte) * bits)) & mask
                 for x in range(w)] for r in range(h * planes)]
