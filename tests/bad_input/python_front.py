"""One bad input through the Python module, for run_bad_input.py: prints the
refusal on stderr and exits 2; writes OUT only on success.

    python_front.py image PATH SCREEN OUT | screen SCREEN OUT JSON | array KIND SCREEN OUT

SCREEN "need:NAME" is the first screen that reads NAME ("need:-": nothing)."""
import json
import re
import sys

import numpy as np

import halftone
import halftone.batch

# Typed refusals, PIL's included (the module reads page files through it).
try:
    from PIL.Image import DecompressionBombError
except ImportError:
    DecompressionBombError = ValueError
REFUSALS = (ValueError, KeyError, OSError, halftone.Error, halftone.batch.PageError,
            DecompressionBombError)
NUMBERS = {"mode", "seed_time", "threads", "band_height"}


def chosen(name):
    if not name.startswith("need:"):
        return name
    need = name[5:]
    for row in halftone.screens():
        if row.banding != "whole-page" and (
                (need == "-" and not row.needs) or (need in row.needs and row.pattern_size is None)):
            return row.id
    for row in halftone.screens():
        if need in row.needs:
            return row.id
    raise SystemExit(f"python_front.py: no screen reads {need}")


def bad_array(kind):
    return {
        "complex": lambda: np.zeros((4, 4), dtype=np.complex64),
        "float_out_of_range": lambda: np.full((4, 4), 7.5),
        "four_dimensions": lambda: np.zeros((1, 2, 4, 4), dtype=np.uint8),
        "empty": lambda: np.zeros((0, 0), dtype=np.uint8),
        "strings": lambda: np.array([["a", "b"], ["c", "d"]]),
        "ragged_list": lambda: [[1, 2, 3], [4]],
    }[kind]()


def main(argv):
    mode = argv[1]
    try:
        if mode == "image":
            path, screen, out = argv[2], chosen(argv[3]), argv[4]
            page = halftone.batch.read_page(path)
            codes = halftone.screen(page, screen, seed_time=1)
        elif mode == "screen":
            screen, out, options = chosen(argv[2]), argv[3], {"seed_time": 1}
            for key, value in json.loads(argv[4]).items():
                numeric = key in NUMBERS and re.fullmatch(r"-?\d+", value)
                options[key] = int(value) if numeric else value
            page = np.tile(np.arange(0, 256, 8, dtype=np.uint8), (16, 1))
            codes = halftone.screen(page, screen, **options)
        else:
            screen, out = chosen(argv[3]), argv[4]
            codes = halftone.screen(bad_array(argv[2]), screen, seed_time=1)
    except REFUSALS as error:
        print(f"{type(error).__name__}: {error}", file=sys.stderr)
        return 2
    with open(out, "wb") as f:
        np.save(f, codes)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
