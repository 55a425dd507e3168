#!/usr/bin/env python3
"""Writes the seed corpora in fuzz/corpus/NAME/ (run it again after changing
how a fuzz program reads its input): /usr/bin/python3 fuzz/make_seeds.py

The programs read their input with libFuzzer's FuzzedDataProvider: numbers
and flags are taken from the end of the input (the last byte first), strings
and the remaining bytes from the front. A Seed collects both halves in the
order the program reads them."""

import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))


class Seed:
    def __init__(self):
        self.front = bytearray()
        self.tail = bytearray()  # in reading order; stored reversed at the end

    def byte(self, value):
        """A flag or a number of a range below 256 (read as min + byte % (range + 1))."""
        self.tail.append(value & 0xFF)
        return self

    def word(self, value):
        """A number of a range from 256 to 65535: two bytes, high first."""
        return self.byte(value >> 8).byte(value)

    def u64(self, value):
        for shift in range(56, -8, -8):
            self.byte(value >> shift)
        return self

    def u32(self, value):
        for shift in range(24, -8, -8):
            self.byte(value >> shift)
        return self

    def text(self, s):
        """A string read by ConsumeRandomLengthString: backslashes doubled, ended by '\\' 'x'."""
        self.front += s.encode("latin-1").replace(b"\\", b"\\\\") + b"\\x"
        return self

    def rest(self, data):
        self.rest_bytes = bytes(data)
        return self

    def bytes(self):
        return bytes(self.front) + getattr(self, "rest_bytes", b"") + bytes(reversed(self.tail))


def bmp(width, height, pixels=None, offset=54 + 1024, info_size=40):
    if pixels is None:
        pixels = bytes((x * 7 + y * 13) & 0xFF for y in range(abs(height)) for x in range(abs(width)))
    header = b"BM" + struct.pack("<IHHI", 54 + 1024 + len(pixels), 0, 0, offset)
    info = struct.pack("<IiiHHIIiiII", info_size, width, height, 1, 8, 0, len(pixels), 2835, 2835,
                       256, 0)
    palette = b"".join(bytes((i, i, i, 0)) for i in range(256))
    return header + info + palette + pixels


# Indices into the side list of pattern_fuzz: 8, 16, 32, 64, 1, 0, 7, 9, 256, 257, -1.
SIDE = {8: 0, 16: 1, 32: 2, 64: 3, 1: 4, 0: 5, 7: 6, 9: 7, 256: 8, 257: 9, -1: 10}


def pattern_seed(two_bit, width, height, shape, data):
    s = Seed().byte(two_bit).byte(1).byte(SIDE[width]).byte(SIDE[height]).byte(shape)
    return s.u64(0x1234567 + width * 31 + height).rest(data)


def pattern_any_seed(width, height, data):
    s = Seed().byte(0).byte(0).word(width + 300).word(height + 300).byte(0)
    return s.u64(99).rest(data)


def seeds():
    ramp = bytes(range(256))
    yield "pattern_fuzz", "one_bit_8x8", pattern_seed(0, 8, 8, 1, ramp)
    yield "pattern_fuzz", "one_bit_16x16_short", pattern_seed(0, 16, 16, 2, ramp[::3])
    yield "pattern_fuzz", "one_bit_32x8_over", pattern_seed(0, 32, 8, 3, b"\x55\xaa\x0f")
    yield "pattern_fuzz", "two_bit_8x8", pattern_seed(1, 8, 8, 1, ramp[::-1])
    yield "pattern_fuzz", "two_bit_64x1", pattern_seed(1, 64, 1, 1, b"\x1b\xe4")
    yield "pattern_fuzz", "width_7", pattern_seed(0, 7, 9, 0, ramp)
    yield "pattern_fuzz", "width_257", pattern_seed(1, 257, 8, 0, ramp)
    yield "pattern_fuzz", "negative", pattern_any_seed(-5, 300, ramp)
    yield "pattern_fuzz", "empty_file", pattern_seed(0, 16, 16, 0, b"")

    for name, data in [
        ("plain_16x16", bmp(16, 16)),
        ("wide_300x2", bmp(300, 2)),
        ("tall_4x260", bmp(4, 260)),
        ("top_down", bmp(8, -8)),
        ("zero_width", bmp(0, 4)),
        ("offset_past_end", bmp(8, 8, offset=1 << 20)),
        ("truncated", bmp(32, 32)[:1500]),
        ("header_only", bmp(16, 16)[:54]),
        ("short_header", b"BM\x00\x00"),
    ]:
        yield "matrix_fuzz", name, Seed().byte(len(name) & 1).u64(len(data)).rest(data)

    for name, text in [
        ("few", b"1 2 3\r\n"),
        ("no_end", b"1 2 3"),
        ("signs", b"-5 +7 -32768 65535 99999999999999999999999\r\n"),
        ("line_feeds", b"1\n2\n3 4\r\n5 "),
        ("block", b"".join(b"%d " % ((i * 37) % 300) for i in range(300)) + b"\r\n"),
        ("junk", b"12abc 0x1F 3.5 -- \t9\r\n"),
    ]:
        yield "blocks_fuzz", name, Seed().u64(len(text)).rest(text)

    curves = bytes((k * 17 + i) & 0xFF for k in range(15) for i in range(256))
    for name, mode, mode_text, levels, pick, data in [
        ("mode2_levels", 2, "2", "0,85,170,255", 0, curves),
        ("mode0_short_file", 0, "0", "10,20,30,", 1, curves[:300]),
        ("mode3_long_tokens", 3, "3", "1234,56789,,,", 2, curves),
        ("bad_mode", 6, "9", "255,170,85,0", 3, b""),
        ("many_values", 1, "1", ",".join(str(i * 20) for i in range(14)), 4, curves[:256]),
        ("junk", -2, "x", "a,b,-1,300", 5, b"\xff" * 17),
    ]:
        s = Seed().byte(mode + 2).text(mode_text).word(pick).byte(1).text(levels)
        yield "tone_fuzz", name, s.u64(len(data) * 2 + 1).rest(data)

    # One seed for each of the first screens of the registry, a few bands each.
    keys = ["levels", "mode", "seed-time", "data-folder", "pattern", "pattern2", "matrix",
            "blocks", "threads", "pattern-size", "", "Levels"]
    grey = bytes((i * 5) & 0xFF for i in range(96)) + bytes(range(0, 256, 3))
    for index in range(80):
        s = Seed().byte(0).word(index).byte(1)  # past the end, screen, not wild
        s.byte(17 + index % 40).byte(index % 4).byte(1)  # width, planes, whole-page planes
        options = [("mode", "2"), ("levels", "0,85,170,255"), ("pattern", 3), ("pattern2", 3),
                   ("matrix", 3), ("blocks", 3), ("data-folder", 3)][index % 4:index % 4 + 3]
        s.byte(len(options))
        for key, value in options:
            s.byte(keys.index(key)).byte(value if isinstance(value, int) else 4)
            if not isinstance(value, int):
                s.text(value)
        s.u32(1000 + index)
        bands = [3, 0, 5, 2][: 1 + index % 4]
        s.byte(len(bands) - 1)
        for rows in bands:
            s.byte(rows)
        s.byte(index % 6).byte((index // 2) % 6).byte(index % 3).byte(index % 5).byte(index & 1)
        yield "job_fuzz", "screen_%02d" % index, s.rest(grey)


def image_seeds():
    """Small files of every kind the program reads (PIL writes PNG, TIFF and JPEG)."""
    yield "pnm_fuzz", "p1", b"P1\n# plain\n5 2\n1 0 1 0 1\n0 1 0 1 0\n"
    yield "pnm_fuzz", "p2", b"P2\n3 2\n15\n0 5 10\n15 7 3\n"
    yield "pnm_fuzz", "p3", b"P3\n2 1\n255\n255 0 0 0 0 255\n"
    yield "pnm_fuzz", "p4", b"P4\n9 2\n" + bytes([0xA5, 0x80, 0x5A, 0x00])
    yield "pnm_fuzz", "p5", b"P5\n4 3\n255\n" + bytes(range(0, 240, 20))
    yield "pnm_fuzz", "p5_16bit", b"P5 2 2 65535\n" + bytes([0, 0, 255, 255, 128, 0, 1, 2])
    yield "pnm_fuzz", "p6", b"P6\n2 2\n255\n" + bytes(range(12))
    yield "pnm_fuzz", "two_images", b"P5\n2 1\n255\n\x00\xffP5\n1 1\n255\n\x80"
    for tupltype, depth, maxval in [("GRAYSCALE", 1, 255), ("GRAYSCALE_ALPHA", 2, 255),
                                    ("RGB", 3, 255), ("CMYK", 4, 255),
                                    ("BLACKANDWHITE", 1, 1)]:
        header = "P7\nWIDTH 3\nHEIGHT 2\nDEPTH %d\nMAXVAL %d\nTUPLTYPE %s\nENDHDR\n" % (
            depth, maxval, tupltype)
        body = bytes((i * 37) % (maxval + 1) for i in range(3 * 2 * depth))
        yield "pnm_fuzz", "pam_" + tupltype.lower(), header.encode() + body
    yield "pnm_fuzz", "lying_size", b"P5\n32768 32768\n255\n\x00\x00"

    try:
        import io
        from PIL import Image
    except ImportError:
        print("PIL is missing: no PNG, TIFF or JPEG seeds", file=sys.stderr)
        return

    def saved(image, fmt, **options):
        out = io.BytesIO()
        image.save(out, fmt, **options)
        return out.getvalue()

    grey = Image.frombytes("L", (7, 5), bytes((i * 7) & 0xFF for i in range(35)))
    rgb = Image.frombytes("RGB", (4, 3), bytes((i * 21) & 0xFF for i in range(36)))
    cmyk = Image.frombytes("CMYK", (4, 3), bytes((i * 21) & 0xFF for i in range(48)))
    dots = grey.point(lambda v: 255 if v > 100 else 0).convert("1")
    yield "png_fuzz", "grey", saved(grey, "PNG")
    yield "png_fuzz", "rgb", saved(rgb, "PNG")
    yield "png_fuzz", "grey_alpha", saved(grey.convert("LA"), "PNG")
    yield "png_fuzz", "palette", saved(rgb.convert("P"), "PNG")
    yield "png_fuzz", "one_bit", saved(dots, "PNG")
    yield "png_fuzz", "sixteen_bit", saved(grey.convert("I;16"), "PNG")
    yield "tiff_fuzz", "grey", saved(grey, "TIFF")
    yield "tiff_fuzz", "rgb_lzw", saved(rgb, "TIFF", compression="tiff_lzw")
    yield "tiff_fuzz", "cmyk", saved(cmyk, "TIFF")
    yield "tiff_fuzz", "group4", saved(dots, "TIFF", compression="group4")
    yield "tiff_fuzz", "two_pages", saved(grey, "TIFF", save_all=True, append_images=[grey])
    yield "jpeg_fuzz", "grey", saved(grey, "JPEG", quality=90, dpi=(300, 300))
    yield "jpeg_fuzz", "rgb_subsampled", saved(rgb, "JPEG", quality=75, subsampling=2)
    yield "jpeg_fuzz", "rgb_restarts", saved(rgb, "JPEG", quality=75, restart_marker_blocks=1)
    yield "jpeg_fuzz", "cmyk_adobe", saved(cmyk, "JPEG", quality=90)
    yield "jpeg_fuzz", "progressive", saved(grey, "JPEG", quality=90, progressive=True)


def main():
    written = 0
    for name, seed_name, seed in list(seeds()) + list(image_seeds()):
        folder = os.path.join(HERE, "corpus", name)
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, seed_name), "wb") as f:
            f.write(seed if isinstance(seed, bytes) else seed.bytes())
        written += 1
    print("wrote %d seeds" % written, file=sys.stderr)


if __name__ == "__main__":
    main()
