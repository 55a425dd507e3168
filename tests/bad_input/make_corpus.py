#!/usr/bin/env python3
"""Writes the bad-input corpus into files/, one folder a kind; run it again
after adding a case (run_bad_input.py makes the large ones at run time)."""

import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
NOT_AN_IMAGE = b"Dear printer,\nthis is a letter, not a picture.\n"


def png(width, height, depth=8, colour=0, rows=None, crc_ok=True, cut=None):
    def chunk(kind, data):
        crc = zlib.crc32(kind + data) ^ (0 if crc_ok or kind != b"IHDR" else 1)
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", crc)

    if rows is None:
        rows = b"".join(b"\x00" + bytes(width) for _ in range(height))
    data = (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))
    return data[:cut] if cut else data


def tiff(width, height, strip=None, bits=8, samples=1, photometric=1, strip_offset=None,
         strip_bytes=None, compression=1):
    """A little-endian TIFF of one strip; the fields may lie about the strip."""
    strip = bytes(width * height * samples) if strip is None else strip
    entries = [(256, 4, width), (257, 4, height), (258, 3, bits), (259, 3, compression),
               (262, 3, photometric), (273, 4, strip_offset or 8),
               (277, 3, samples), (278, 4, height),
               (279, 4, len(strip) if strip_bytes is None else strip_bytes)]
    ifd_at = 8 + len(strip)
    ifd = struct.pack("<H", len(entries))
    for tag, kind, value in entries:
        ifd += struct.pack("<HHI", tag, kind, 1) + struct.pack("<I" if kind == 4 else "<HH", value,
                                                              *([] if kind == 4 else [0]))
    ifd += struct.pack("<I", 0)
    return b"II*\x00" + struct.pack("<I", ifd_at) + strip + ifd


def jpeg(width, height, declared=None):
    """A baseline grey JPEG of noise (through PIL); `declared` (w, h) lies in its frame header."""
    import io
    from PIL import Image
    noise = bytes((i * 7919 + (i >> 3) * 104729) & 0xFF for i in range(width * height))
    out = io.BytesIO()
    Image.frombytes("L", (width, height), noise).save(out, "JPEG", quality=90)
    data = bytearray(out.getvalue())
    if declared:
        frame = data.index(b"\xff\xc0")
        data[frame + 5:frame + 9] = struct.pack(">HH", declared[1], declared[0])
    return bytes(data)


def bmp(width, height, bits=8, pixels=None, offset=54 + 1024, compression=0):
    pixels = bytes(abs(width * height)) if pixels is None else pixels
    return (b"BM" + struct.pack("<IHHI", 54 + 1024 + len(pixels), 0, 0, offset) +
            struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, compression, len(pixels),
                        2835, 2835, 256, 0) + bytes(1024) + pixels)


# CUPS raster, version 3 (uncompressed), in this machine's byte order.
RASTER_FIELDS = {"HWResolution": (276, 2), "PageSize": (352, 2), "cupsWidth": (372, 1),
                 "cupsHeight": (376, 1), "cupsBitsPerColor": (384, 1),
                 "cupsBitsPerPixel": (388, 1), "cupsBytesPerLine": (392, 1),
                 "cupsColorOrder": (396, 1), "cupsColorSpace": (400, 1),
                 "cupsNumColors": (420, 1)}
CSPACE = {"W": 0, "RGB": 1, "K": 3, "CMYK": 6, "SW": 18}


def raster_header(width, height, space="K", bits=8, colours=1, bytes_per_line=None, **fields):
    header = bytearray(1796)
    values = dict(HWResolution=[300, 300], PageSize=[width * 72 // 300, height * 72 // 300],
                  cupsWidth=width, cupsHeight=height, cupsBitsPerColor=bits,
                  cupsBitsPerPixel=bits * colours,
                  cupsBytesPerLine=(bytes_per_line if bytes_per_line is not None
                                    else (width * bits * colours + 7) // 8),
                  cupsColorOrder=0, cupsColorSpace=CSPACE[space], cupsNumColors=colours)
    values.update(fields)
    for name, value in values.items():
        at, count = RASTER_FIELDS[name]
        struct.pack_into("=%dI" % count, header, at, *(value if count > 1 else [value]))
    return bytes(header)


def raster(pages):
    return struct.pack("=I", 0x52615333) + b"".join(pages)


def files():
    good_pgm = b"P5\n16 8\n255\n" + bytes(range(0, 256, 2))
    yield "image", "empty.pgm", b""
    yield "image", "not_an_image.pgm", NOT_AN_IMAGE
    yield "image", "header_cut.pgm", b"P5\n64"
    yield "image", "pixels_cut.pgm", good_pgm[:60]
    yield "image", "lying_size.pgm", b"P5\n32768 32768\n255\n" + bytes(16)
    yield "image", "side_too_long.pgm", b"P5\n2000000 1\n255\n" + bytes(16)
    yield "image", "zero_size.pgm", b"P5\n0 0\n255\n"
    yield "image", "maxval_zero.pgm", b"P5\n4 4\n0\n" + bytes(16)
    yield "image", "maxval_too_big.pgm", b"P5\n4 4\n70000\n" + bytes(32)
    yield "image", "plain_bad_token.pgm", b"P2\n2 2\n255\n1 x 3 4\n"
    yield "image", "plain_cut.pbm", b"P1\n8 8\n1 0 1 0\n"
    yield "image", "pixels_cut.ppm", b"P6\n8 8\n255\n" + bytes(10)
    yield "image", "lying_size.ppm", b"P6 20000 20000 255\n" + bytes(30)
    yield "image", "depth_mismatch.pam", (b"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\n"
                                          b"TUPLTYPE RGB\nENDHDR\n" + bytes(4))
    yield "image", "no_endhdr.pam", b"P7\nWIDTH 2\nHEIGHT 2\nDEPTH 1\nMAXVAL 255\n" + bytes(4)
    yield "image", "lying_size.pam", (b"P7\nWIDTH 30000\nHEIGHT 30000\nDEPTH 4\nMAXVAL 255\n"
                                      b"TUPLTYPE CMYK\nENDHDR\n" + bytes(64))
    yield "image", "unknown_tupltype.pam", (b"P7\nWIDTH 2\nHEIGHT 1\nDEPTH 3\nMAXVAL 255\n"
                                            b"TUPLTYPE HSV\nENDHDR\n" + bytes(6))
    yield "image", "signature_only.png", b"\x89PNG\r\n\x1a\n"
    noise = b"".join(b"\x00" + bytes((i * 2654435761 >> 13) & 0xFF for i in range(y * 32, y * 32 + 32))
                     for y in range(32))
    yield "image", "cut.png", png(32, 32, rows=noise, cut=300)  # in the middle of the pixels
    yield "image", "bad_crc.png", png(8, 8, crc_ok=False)
    yield "image", "lying_size.png", png(30000, 30000, rows=b"\x00" * 64)
    yield "image", "zero_width.png", png(0, 4, rows=b"")
    yield "image", "bad_depth.png", png(4, 4, depth=3)
    yield "image", "header_only.tif", b"II*\x00"
    yield "image", "ifd_past_end.tif", b"II*\x00\xf0\xff\xff\x0f"
    yield "image", "strip_cut.tif", tiff(16, 16, strip=bytes(40), strip_bytes=256)
    yield "image", "lying_size.tif", tiff(100000, 100000, strip=bytes(16))
    yield "image", "strip_past_end.tif", tiff(8, 8, strip=bytes(64), strip_offset=1 << 30)
    yield "image", "bad_compression.tif", tiff(8, 8, compression=12345)
    yield "image", "bad_bits.tif", tiff(8, 8, bits=12)
    yield "image", "signature_only.jpg", b"\xff\xd8\xff"
    yield "image", "cut.jpg", jpeg(32, 32)[:-40]  # in the middle of the pixels
    yield "image", "lying_size.jpg", jpeg(8, 8, declared=(60000, 60000))

    cmyk_line = 8 * 4
    yield "raster", "empty.ras", b""
    yield "raster", "not_a_raster.ras", NOT_AN_IMAGE
    yield "raster", "sync_only.ras", raster([])
    yield "raster", "header_cut.ras", raster([raster_header(64, 16)[:900]])
    yield "raster", "pixels_cut.ras", raster([raster_header(64, 16) + bytes(64 * 5)])
    yield "raster", "lying_size.ras", raster([raster_header(100000, 100000) + bytes(4096)])
    yield "raster", "rgb.ras", raster([raster_header(8, 4, "RGB", colours=3) + bytes(8 * 3 * 4)])
    yield "raster", "sixteen_bits.ras", raster([raster_header(8, 4, bits=16) + bytes(8 * 2 * 4)])
    yield "raster", "line_size_lies.ras", raster([raster_header(64, 4, bytes_per_line=7) + bytes(28)])
    yield "raster", "cmyk_cut.ras", raster([raster_header(8, 8, "CMYK", colours=4) +
                                            bytes(cmyk_line * 3)])
    yield "raster", "zero_width.ras", raster([raster_header(0, 8)])

    bank = bytes((i * 29) & 0xFF for i in range(256 * 16 * 2))  # 256 patterns of 16 x 16
    yield "pattern", "empty.bin", b""
    yield "pattern", "cut.bin", bank[: len(bank) // 2]
    yield "pattern", "one_short.bin", bank[:-1]
    yield "pattern", "for_8x8.bin", bank[: 256 * 8]
    yield "pattern2", "empty.bin", b""
    yield "pattern2", "cut.bin", bytes(1000)

    yield "matrix", "empty.bmp", b""
    yield "matrix", "not_a_bmp.bmp", NOT_AN_IMAGE
    yield "matrix", "header_cut.bmp", bmp(16, 16)[:30]
    yield "matrix", "pixels_cut.bmp", bmp(16, 16)[:54 + 1024 + 100]
    yield "matrix", "lying_size.bmp", bmp(100000, 100000, pixels=bytes(256))
    yield "matrix", "too_wide.bmp", bmp(300, 4)
    yield "matrix", "odd_width.bmp", bmp(13, 4)
    yield "matrix", "top_down.bmp", bmp(16, -16)
    yield "matrix", "24_bit.bmp", bmp(16, 16, bits=24, pixels=bytes(16 * 16 * 3))
    yield "matrix", "compressed.bmp", bmp(16, 16, compression=1)
    yield "matrix", "offset_past_end.bmp", bmp(16, 16, offset=1 << 24)

    yield "blocks", "empty.txt", b""
    yield "blocks", "binary.txt", bytes(range(256))
    yield "blocks", "words.txt", b"one two three\r\n"
    yield "blocks", "no_line_end.txt", b"1 2 3"

    yield "tone", "empty/ToneAry.ham", b""
    yield "tone", "cut/ToneAry.ham", bytes(range(256)) * 2 + bytes(100)
    yield "tone", "not_curves/ToneAry.ham", NOT_AN_IMAGE


def main():
    count = 0
    for kind, name, data in files():
        path = os.path.join(HERE, "files", kind, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as f:
            f.write(data)
        count += 1
    print("wrote %d files" % count)


if __name__ == "__main__":
    main()
