"""The Python binding: every entry point resolves, and a page screened through
it equals the command-line program's raw output for the same clock second."""
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "python"))
import halftone  # noqa: E402

library, tool = sys.argv[1], sys.argv[2]
lib = halftone.Library(library)
assert len(lib.entry) == 69, len(lib.entry)

width, height, planes = 23, 9, 2
grey = bytes((x * 11 + r * 7) % 256 for r in range(height * planes) for x in range(width))
with tempfile.TemporaryDirectory() as d:
    pgm = os.path.join(d, "in.pgm")
    with open(pgm, "wb") as f:
        # The program's page file stacks the planes top to bottom.
        stacked = b"".join(grey[(r * planes + p) * width:(r * planes + p + 1) * width]
                           for p in range(planes) for r in range(height))
        f.write(b"P5\n%d %d\n255\n" % (width, height * planes) + stacked)
    for name in ("sdiufiavs", "FastGroup", "RoundPump1", "highforces"):
        raw = os.path.join(d, name + ".raw")
        subprocess.run([tool, "screen", name, pgm, raw, "--planes", str(planes), "--raw",
                        "--band-height", "4", "--seed-time", "5", "--mode", "2",
                        "--params", "0,85,170,255,"], check=True)
        lib.pin_seed_time(5)
        lib.tone_setup(2, "0,85,170,255,")
        dots = lib.screen_page(name, grey, width, height, planes, band_height=4)
        with open(raw, "rb") as f:
            assert f.read() == dots, name
        codes = lib.unpack(name, dots, width, height, planes)
        assert len(codes) == height * planes and max(map(max, codes)) < 2 ** lib.bits(name)

black = lib.unpack("hxkjsdi67x", lib.screen_page("hxkjsdi67x", bytes(40), 8, 5), 8, 5)
assert all(all(row) for row in black)
print("python binding: 1 passed, 0 failed")
