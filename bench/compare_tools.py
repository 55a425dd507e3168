#!/usr/bin/python3
"""Times the halftone program against other one-bit screening programs on one
A4 600 dpi page (4960 x 7016 grey pixels) in one hyperfine run and prints how
many times faster the halftone program is than each.

    bench/compare_tools.py [--halftone PATH] [--screen ID ...] [--threads N]
                           [--runs N] [--height ROWS]

The others: pamditherbw -fs (Floyd-Steinberg) and pamditherbw -dither8
(8 x 8 ordered dither) from netpbm, and Pillow's convert('1') (Floyd-Steinberg,
timed as a whole python3 run: interpreter start and import included).
Needs hyperfine, netpbm, python3-numpy and python3-pil (Debian packages).
"""
import argparse
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)


def find_program(given):
    if given:
        return given
    for candidate in (os.path.join(ROOT, "build", "tools", "halftone"), shutil.which("halftone")):
        if candidate and os.access(candidate, os.X_OK):
            return candidate
    sys.exit("compare_tools: no halftone program found; name it with --halftone PATH")


def write_page(path, width, height):
    """Smooth ramps with a little texture, as in the benchmark's page."""
    import numpy as np

    x = np.arange(width, dtype=np.uint32)[None, :]
    y = np.arange(height, dtype=np.uint32)[:, None]
    noise = np.random.default_rng(7).integers(0, 8, size=(height, width), dtype=np.uint32)
    grey = ((x * 255 // width + y * 64 // height + noise) & 0xFF).astype(np.uint8)
    with open(path, "wb") as f:
        f.write(b"P5\n%d %d\n255\n" % (width, height))
        f.write(grey.tobytes())


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--halftone", help="the halftone program (default: build/tools/halftone)")
    parser.add_argument("--screen", action="append",
                        help="screen id or entry name, repeatable "
                        "(default: random-direction, tone-push, ordered-16)")
    parser.add_argument("--threads", type=int, default=1, help="the program's --threads")
    parser.add_argument("--runs", type=int, default=5, help="timed runs a command (default 5)")
    parser.add_argument("--height", type=int, default=7016, help="rows of the page (default 7016)")
    args = parser.parse_args()

    for tool in ("hyperfine", "pamditherbw"):
        if not shutil.which(tool):
            sys.exit(f"compare_tools: {tool} is not installed (apt-get install hyperfine netpbm)")
    program = find_program(args.halftone)
    screens = args.screen or ["random-direction", "tone-push", "ordered-16"]

    with tempfile.TemporaryDirectory(prefix="halftone-compare-") as tmp:
        page = os.path.join(tmp, "page.pgm")
        write_page(page, 4960, args.height)
        q = shlex.quote
        commands = []
        for screen in screens:
            extra = f" --threads {args.threads}" if args.threads > 1 else ""
            commands.append((f"halftone {screen}",
                             f"{q(program)} screen {q(screen)} {q(page)} {q(tmp)}/h.pbm{extra}"))
        commands += [
            ("pamditherbw -fs", f"pamditherbw -fs {q(page)} > {q(tmp)}/fs.pbm"),
            ("pamditherbw -dither8", f"pamditherbw -dither8 {q(page)} > {q(tmp)}/d8.pbm"),
            ("Pillow convert('1')",
             f"/usr/bin/python3 -c \"from PIL import Image; "
             f"Image.open('{page}').convert('1').save('{tmp}/pil.pbm')\""),
        ]
        # Each command must work before it is timed.
        for name, command in commands:
            done = subprocess.run(command, shell=True, stderr=subprocess.PIPE, text=True)
            if done.returncode != 0:
                sys.exit(f"compare_tools: '{name}' failed: {done.stderr.strip()}")
        report = os.path.join(tmp, "times.json")
        hyperfine = ["hyperfine", "--warmup", "1", "--runs", str(args.runs), "--style", "basic",
                     "--export-json", report]
        for name, command in commands:
            hyperfine += ["--command-name", name, command]
        subprocess.run(hyperfine, check=True, stdout=subprocess.DEVNULL)
        with open(report) as f:
            results = {r["command"]: r for r in json.load(f)["results"]}

    megapixels = 4960 * args.height / 1e6
    print(f"A4 600 dpi page, 4960 x {args.height}, one plane; best of {args.runs} runs"
          f" (the machine may be shared: compare within this table)\n")
    others = [name for name, _ in commands if not name.startswith("halftone ")]
    print(f"{'command':24} {'best s':>8} {'mean s':>8} {'MP/s':>8}")
    for name, _ in commands:
        r = results[name]
        print(f"{name:24} {r['min']:8.3f} {r['mean']:8.3f} {megapixels / r['min']:8.1f}")
    print()
    for screen in screens:
        mine = results[f"halftone {screen}"]["min"]
        for other in others:
            ratio = results[other]["min"] / mine
            print(f"halftone {screen} is {ratio:6.1f} times as fast as {other}")


if __name__ == "__main__":
    main()
