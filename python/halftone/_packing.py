"""Codes to and from the library's packed rows.

The library writes 1, 2 or 4 bits a pixel, the leftmost pixel in the most
significant bits, each row padded with zero bits to a multiple of 32 bits.
With P planes the rows are line-interleaved: row r of plane p is packed row
r * P + p.
"""
import numpy as np

_BITS = (1, 2, 4, 8)


def _check_bits(bits):
    """ValueError unless ``bits`` is a width the library packs."""
    if bits not in _BITS:
        raise ValueError(f"bits must be 1, 2 or 4 (8 for source rows), not {bits!r}")


def row_bytes(width, bits):
    """Bytes of one packed row of ``width`` pixels at ``bits`` a pixel (rows padded to 32 bits)."""
    _check_bits(bits)
    if int(width) < 0:
        raise ValueError(f"width must not be negative, not {width}")
    return ((int(width) * bits + 31) >> 3) & ~3


def pack(codes, bits):
    """Packs codes into the library's rows.

    ``codes``: integer array H x W (one plane) or P x H x W, every value below
    ``2 ** bits``. Returns a uint8 array of shape (H * P) x row_bytes(W, bits):
    the rows as the library writes them, planes line-interleaved, so that
    ``pack(...).tobytes()`` is the page in the library's raw layout.
    """
    _check_bits(bits)
    codes = np.asarray(codes)
    if codes.ndim not in (2, 3):
        raise ValueError(f"codes must be H x W or P x H x W, not of shape {codes.shape}")
    if codes.dtype.kind not in "iub":
        raise ValueError(f"codes must be integers, not {codes.dtype}")
    if codes.size and (codes.min() < 0 or codes.max() >= 1 << bits):
        raise ValueError(f"codes {codes.min()}..{codes.max()} do not fit in {bits} bits")
    planes = codes[np.newaxis] if codes.ndim == 2 else codes
    count, height, width = planes.shape
    per_byte = 8 // bits
    out = np.empty((height * count, row_bytes(width, bits)), np.uint8)
    if out.size == 0:  # no rows, or rows of no bytes (no planes: no buffer to reshape)
        return out
    # A few rows at a time, through one buffer: the codes in the packed rows'
    # order, planes line-interleaved, each row run on with zero codes to a
    # whole number of bytes.
    step = max(1, (1 << 20) // max(1, count * out.shape[1] * per_byte))
    padded = np.zeros((min(step, height), count, out.shape[1] * per_byte), np.uint8)
    for y in range(0, height, step):
        n = min(step, height - y)
        padded[:n, :, :width] = planes[:, y:y + n].transpose(1, 0, 2)
        _pack_rows(padded[:n].reshape(n * count, -1), bits, out[y * count:(y + n) * count])
    return out


def _pack_rows(codes, bits, out):
    """Packs rows of codes, a whole number of bytes' worth each, into ``out``."""
    if bits == 1:
        out[...] = np.packbits(codes, axis=1)
        return
    per_byte = 8 // bits
    np.left_shift(codes[:, 0::per_byte], 8 - bits, out=out)
    for k in range(1, per_byte):
        out |= codes[:, k::per_byte] << (8 - bits * (k + 1))


def unpack(packed, width, bits, planes=1):
    """Codes from the library's packed rows.

    ``packed``: bytes-like or uint8 array holding whole rows of
    ``row_bytes(width, bits)`` bytes, planes line-interleaved. Returns a uint8
    array H x W for one plane, P x H x W for ``planes`` = P.
    """
    _check_bits(bits)
    if planes < 1:
        raise ValueError(f"planes must be at least 1, not {planes}")
    if isinstance(packed, np.ndarray):
        if packed.dtype != np.uint8:
            raise ValueError(f"packed rows must be uint8, not {packed.dtype}")
        data = packed.reshape(-1)
    else:
        data = np.frombuffer(memoryview(packed).cast("B"), np.uint8)
    size = row_bytes(width, bits)
    if size == 0 or data.size % (size * planes):
        raise ValueError(f"{data.size} bytes are not whole rows of {size} bytes "
                         f"({width} pixels at {bits} bits) for {planes} plane(s)")
    codes = unpack_rows(data.reshape(-1, size), width, bits)
    height = codes.shape[0] // planes
    if planes == 1:
        return codes
    return np.ascontiguousarray(codes.reshape(height, planes, width).transpose(1, 0, 2))


def unpack_rows(rows, width, bits):
    """The first ``width`` codes of each packed row of ``rows`` (uint8, rows x row bytes)."""
    if bits == 8:
        return np.ascontiguousarray(rows[:, :width])
    if bits == 1:
        return np.unpackbits(rows, axis=1, count=width)
    # np.take is many times faster than indexing the table with the rows.
    # The row length spelt out: -1 cannot be worked out for no rows.
    return np.take(_CODE_TABLES[bits], rows, axis=0).reshape(
        rows.shape[0], rows.shape[1] * (8 // bits))[:, :width]


def _code_table(bits):
    """Row b: the codes byte b packs, leftmost first."""
    per_byte = 8 // bits
    shifts = bits * np.arange(per_byte - 1, -1, -1)
    return ((np.arange(256)[:, np.newaxis] >> shifts) & ((1 << bits) - 1)).astype(np.uint8)


_CODE_TABLES = {2: _code_table(2), 4: _code_table(4)}
