#!/usr/bin/env python3
"""Every corpus file and bad option value through each front end given (program,
Python module, CUPS filter): each must fail with a message naming the problem,
a non-zero status, no output file and a small peak memory."""
import argparse
import collections
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
FILES = os.path.join(HERE, "files")

# Program cases: (input file, extra arguments, what the message says).
# SCREEN is replaced by a screen that reads nothing, or by the need's screen.
IMAGE_CASES = [
    ("image/empty.pgm", r"empty|not a PNM"),
    ("image/not_an_image.pgm", r"not a PNM"),
    ("image/header_cut.pgm", r"truncated|header|end"),
    ("image/pixels_cut.pgm", r"truncated|only \d+ bytes follow"),
    ("image/lying_size.pgm", r"truncated|holds|larger|declares"),
    ("image/side_too_long.pgm", r"unsupported page size"),
    ("image/zero_size.pgm", r"empty|zero|size|width"),
    ("image/maxval_zero.pgm", r"maxval|MAXVAL"),
    ("image/maxval_too_big.pgm", r"maxval|MAXVAL"),
    ("image/plain_bad_token.pgm", r"malformed|number|sample"),
    ("image/plain_cut.pbm", r"truncated|only \d+ bytes follow"),
    ("image/pixels_cut.ppm", r"truncated|only \d+ bytes follow"),
    ("image/lying_size.ppm", r"truncated|holds|larger|declares"),
    ("image/depth_mismatch.pam", r"DEPTH|TUPLTYPE|depth"),
    ("image/no_endhdr.pam", r"ENDHDR|header|malformed"),
    ("image/lying_size.pam", r"truncated|holds|larger|declares"),
    ("image/unknown_tupltype.pam", r"TUPLTYPE"),
    ("image/signature_only.png", r"PNG|truncated|read"),
    ("image/cut.png", r"PNG|truncated|read"),
    ("image/bad_crc.png", r"CRC|PNG"),
    ("image/lying_size.png", r"PNG|truncated|declares"),
    ("image/zero_width.png", r"PNG|width|size"),
    ("image/bad_depth.png", r"PNG|depth"),
    ("image/header_only.tif", r"TIFF|header|read"),
    ("image/ifd_past_end.tif", r"TIFF|directory|IFD|read"),
    ("image/strip_cut.tif", r"TIFF|strip|read|truncated"),
    ("image/lying_size.tif", r"TIFF|truncated|unsupported page size"),
    ("image/strip_past_end.tif", r"TIFF|strip|read"),
    ("image/bad_compression.tif", r"TIFF|compression|codec|scheme"),
    ("image/bad_bits.tif", r"TIFF|bits|sample"),
    ("image/signature_only.jpg", r"JPEG|truncated"),
    ("image/cut.jpg", r"truncated|breaks off"),
    ("image/lying_size.jpg", r"truncated|breaks off"),
]
# Data files: (need, option, file, extra arguments, message).
DATA_CASES = [
    ("pattern", "--pattern", "pattern/empty.bin", [], r"bytes|pattern"),
    ("pattern", "--pattern", "pattern/cut.bin", [], r"bytes|pattern"),
    ("pattern", "--pattern", "pattern/one_short.bin", [], r"bytes|pattern"),
    ("pattern", "--pattern", "pattern/for_8x8.bin", ["--pattern-size", "16x16"], r"bytes"),
    ("pattern", "--pattern", "@big", [], r"larger|bytes|pattern"),
    ("pattern", "--pattern", "@folder", [], r"open|folder|directory|not a file"),
    ("pattern", "--pattern", "@missing", [], r"open|no file"),
    ("pattern2", "--pattern2", "pattern2/empty.bin", [], r"bytes|pattern"),
    ("pattern2", "--pattern2", "pattern2/cut.bin", [], r"bytes|pattern"),
    ("matrix", "--matrix", "matrix/empty.bmp", [], r"BMP"),
    ("matrix", "--matrix", "matrix/not_a_bmp.bmp", [], r"BMP"),
    ("matrix", "--matrix", "matrix/header_cut.bmp", [], r"BMP"),
    ("matrix", "--matrix", "matrix/pixels_cut.bmp", [], r"truncated"),
    ("matrix", "--matrix", "matrix/lying_size.bmp", [], r"wide|rows|256"),
    ("matrix", "--matrix", "matrix/too_wide.bmp", [], r"wide|256"),
    ("matrix", "--matrix", "matrix/odd_width.bmp", [], r"multiple of 4"),
    ("matrix", "--matrix", "matrix/top_down.bmp", [], r"bottom-up|rows"),
    ("matrix", "--matrix", "matrix/24_bit.bmp", [], r"8-bit"),
    ("matrix", "--matrix", "matrix/compressed.bmp", [], r"uncompressed"),
    ("matrix", "--matrix", "matrix/offset_past_end.bmp", [], r"truncated"),
    ("matrix", "--matrix", "@big", [], r"larger|BMP"),
    ("blocks", "--blocks", "blocks/empty.txt", [], r"numbers|block"),
    ("blocks", "--blocks", "blocks/binary.txt", [], r"character"),
    ("blocks", "--blocks", "blocks/words.txt", [], r"character"),
    ("blocks", "--blocks", "blocks/no_line_end.txt", [], r"CR LF|line end"),
    ("blocks", "--blocks", "@too_many", [], r"65536"),
    ("tone-curves", "--data", "tone/empty", ["--mode", "2"], r"ToneAry|curve"),
    ("tone-curves", "--data", "tone/cut", ["--mode", "2"], r"ToneAry|curve"),
    ("tone-curves", "--data", "tone/not_curves", ["--mode", "2"], r"ToneAry|curve"),
]
# Option values: (need, arguments, message).
OPTION_CASES = [
    ("levels", ["--levels", "1,2"], r"levels|values"),
    ("levels", ["--levels", "0,85,170,300"], r"levels|0-255|range"),
    ("levels", ["--levels", "a,b,c,d"], r"levels|number"),
    ("levels", ["--levels", "255,170,85,0"], r"levels|order|dark"),
    ("tone-curves", ["--mode", "9"], r"mode"),
    ("tone-curves", ["--mode", "-1"], r"mode"),
    ("tone-curves", ["--mode", "two"], r"mode"),
    ("-", ["--band-height", "0"], r"band-height"),
    ("-", ["--planes", "0"], r"planes"),
    ("-", ["--planes", "3"], r"planes|rows|split|divide"),
    ("-", ["--threads", "0"], r"threads"),
    ("-", ["--threads", "65"], r"threads"),
    ("-", ["--seed-time", "yesterday"], r"seed"),
    ("-", ["--seed-time", "-5"], r"seed"),
    ("-", ["--format", "xyz"], r"format|xyz"),
    ("-", ["@out=page.xyz"], r"xyz|extension|format"),
    ("-", ["@screen=no-such-screen"], r"no-such-screen|unknown|no screen"),
    ("-", ["@in=missing.pgm"], r"missing|open|exist"),
    ("-", ["@in=@folder"], r"open|folder|directory|read"),
    ("pattern", ["--pattern-size", "0x0"], r"pattern-size|pattern width"),
    ("pattern", ["--pattern-size", "300x8"], r"pattern-size|size|256"),
    ("pattern", ["--pattern-size", "16"], r"pattern-size|WxH|size"),
    ("-", ["--pattern", "@good_bank"], r"pattern|does not read|not read"),
]
# CUPS raster streams and filter options: (file, options, message, whether a
# page begins before the fault). The filter streams: a page that begins is
# announced downstream before its lines arrive, so only those cases may leave
# a page header on standard output (CUPS drops the output of a failed filter).
RASTER_CASES = [
    ("raster/empty.ras", "", r"raster|page|empty|no ", False),
    ("raster/not_a_raster.ras", "", r"raster", False),
    ("raster/sync_only.ras", "", r"raster|page|no ", False),
    ("raster/header_cut.ras", "", r"raster|header|page", False),
    ("raster/pixels_cut.ras", "", r"truncated", True),
    ("raster/lying_size.ras", "", r"truncated|large", True),
    ("raster/rgb.ras", "", r"colou?r|space|RGB", False),
    ("raster/sixteen_bits.ras", "", r"bits", False),
    ("raster/line_size_lies.ras", "", r"bytes|line", False),
    ("raster/cmyk_cut.ras", "", r"truncated", True),
    ("raster/zero_width.ras", "", r"width|size|empty|no pages", False),
    ("@good_raster", "HalftoneScreen=no-such-screen", r"no-such-screen|HalftoneScreen", False),
    ("@good_raster", "HalftoneLevels=1,2", r"HalftoneLevels|levels", False),
    ("@good_raster", "HalftoneSeedTime=yesterday", r"HalftoneSeedTime|seed", False),
    ("@good_raster", "HalftoneBandHeight=0", r"HalftoneBandHeight", False),
    ("@good_raster", "HalftoneBandHeight=99999999", r"HalftoneBandHeight", False),
    ("@good_raster", "HalftoneThreads=0", r"HalftoneThreads", False),
    ("@good_raster", "HalftoneThreads=many", r"HalftoneThreads", False),
]
# Python: bad arrays for halftone.screen (kind, message).
ARRAY_CASES = [
    ("complex", r"uint8|dtype|complex"),
    ("float_out_of_range", r"\[0, 1\]|range|float"),
    ("four_dimensions", r"dimension|shape|H x W"),
    ("empty", r"empty|size|shape|rows|width"),
    ("strings", r"uint8|dtype|number"),
    ("ragged_list", r"uint8|shape|array|ragged|inhomogeneous"),
]
# Program options as the module's keywords.
PYTHON_OPTION = {"--levels": "levels", "--mode": "mode", "--seed-time": "seed_time",
                 "--band-height": "band_height", "--threads": "threads",
                 "--pattern-size": "pattern_size", "--pattern": "pattern",
                 "--pattern2": "pattern2", "--matrix": "matrix", "--blocks": "blocks",
                 "--data": "data_folder"}
CRASH = re.compile(r"Traceback|terminate called|Sanitizer|runtime error|Segmentation|core dumped")


Result = collections.namedtuple("Result", "status stdout stderr peak_kib")


def run(argv, stdin_path=None, env=None, cwd=None):
    """Runs argv to its end; its own peak memory comes from wait4."""
    out, err = tempfile.TemporaryFile(), tempfile.TemporaryFile()
    stdin = open(stdin_path, "rb") if stdin_path else subprocess.DEVNULL
    try:
        process = subprocess.Popen(argv, stdin=stdin, stdout=out, stderr=err, env=env, cwd=cwd)
        try:
            _, status, usage = os.wait4(process.pid, 0)
        except BaseException:
            process.kill()
            raise
    finally:
        if stdin_path:
            stdin.close()
    out.seek(0)
    err.seek(0)
    return Result(os.waitstatus_to_exitcode(status), out.read(),
                  err.read().decode(errors="replace"), usage.ru_maxrss)


class Checker:
    def __init__(self, args):
        self.args = args
        self.work = tempfile.mkdtemp(prefix="halftone-bad-input-")
        self.failures, self.peaks, self.count = [], {}, 0
        self.screens = self.program_screens() if args.program else {}
        self.special = self.make_special_files()

    def make_special_files(self):
        """Inputs that are large, or folders, or need no committing."""
        sys.path.insert(0, HERE)
        import make_corpus
        special = os.path.join(self.work, "special")
        os.makedirs(os.path.join(special, "folder"))
        contents = {
            "@too_many": b" ".join(b"1" for _ in range(70000)) + b"\r\n",
            "@good_bank": bytes((i * 29) & 0xFF for i in range(256 * 16 * 2)),
            "@page": b"P5\n16 8\n255\n" + bytes(range(0, 256, 2)),
            "@good_raster": make_corpus.raster([make_corpus.raster_header(16, 8) + bytes(16 * 8)]),
            "@big": b""}
        paths = {"@folder": os.path.join(special, "folder"),
                 "@missing": os.path.join(special, "missing.bin")}
        for name, data in contents.items():
            paths[name] = os.path.join(special, name[1:])
            with open(paths[name], "wb") as f:
                f.write(data)
                if name == "@big":  # sparse: no disk is spent on it
                    f.truncate(100 << 20)
        return paths

    def path(self, name):
        return self.special.get(name) or os.path.join(FILES, name)

    def program_screens(self):
        """A screen for each need, from the program's own list (never a copy of the registry)."""
        listing = run([self.args.program, "list"]).stdout.decode()
        lines = listing.splitlines()
        header = next(i for i, line in enumerate(lines) if line.startswith("ID "))
        starts = [m.start() for m in re.finditer(r"\S+", lines[header])]
        names = lines[header].split()
        rows = []
        for line in lines[header + 1:]:
            if line.strip():
                cells = [line[a:b].strip() for a, b in zip(starts, starts[1:] + [None])]
                rows.append(dict(zip(names, cells)))
        # For each need, the banded screen that reads least else, preferring
        # banks of any size (so --pattern-size applies).
        chosen = {}
        for row in sorted((r for r in rows if r["BANDS"] != "page"),
                          key=lambda r: (" " in r["NEEDS"], r["NEEDS"].count(","))):
            for need in row["NEEDS"].split(","):
                chosen.setdefault(need.split("(")[0].split()[0], row["ID"])
        return chosen

    def check(self, front, name, result, pattern, outputs, memory_mib, problems=None):
        self.count += 1
        problems = problems or []
        message = result.stderr.strip()
        if result.status == 0:
            problems.append("exit status 0")
        elif result.status < 0:
            problems.append(f"killed by signal {-result.status}")
        if not message:
            problems.append("no message")
        elif CRASH.search(message):
            problems.append("a crash report instead of a message")
        elif not re.search(pattern, message, re.IGNORECASE):
            problems.append(f"the message does not say /{pattern}/")
        for out in outputs:
            if os.path.exists(out):
                problems.append(f"output {os.path.basename(out)} exists")
        left = os.listdir(self.out_dir)
        if left:
            problems.append(f"left in the output folder: {left}")
        peak = result.peak_kib / 1024
        self.peaks[front] = max(self.peaks.get(front, 0), peak)
        if peak > memory_mib:
            problems.append(f"peak memory {peak:.0f} MiB (limit {memory_mib} MiB)")
        if problems:
            self.failures.append(f"{front} {name}: {'; '.join(problems)}\n"
                                 f"    message: {message[-600:]!r}")

    def fresh_out_dir(self):
        self.out_dir = tempfile.mkdtemp(dir=self.work)
        return self.out_dir

    def memory(self, base):
        return base * 4 if self.args.sanitized else base

    def program(self, screen, infile, extra, name, pattern, stdin=None, out_name="out.pgm"):
        out = os.path.join(self.fresh_out_dir(), out_name)
        argv = [self.args.program, "screen", screen, infile, out, "--seed-time", "1"] + extra
        result = run(argv, stdin_path=stdin)
        self.check("program", name, result, pattern, [out], self.memory(64))

    def program_cases(self):
        plain = self.screens["-"]
        for file, pattern in IMAGE_CASES:
            self.program(plain, self.path(file), [], file, pattern)
            if "lying" in file:  # the same from a pipe, where the size is not known
                self.program(plain, "-", [], file + " (stdin)", pattern, stdin=self.path(file))
        for need, option, file, extra, pattern in DATA_CASES:
            self.program(self.screens[need], self.special["@page"],
                         [option, self.path(file)] + extra, f"{option} {file}", pattern)
        for need, extra, pattern in OPTION_CASES:
            screen, infile, out_name, args = self.screens[need], self.special["@page"], "out.pgm", []
            for arg in extra:
                if arg.startswith("@screen="):
                    screen = arg[8:]
                elif arg.startswith("@in="):
                    infile = self.path(arg[4:]) if arg[4:].startswith("@") else \
                        os.path.join(self.work, arg[4:])
                elif arg.startswith("@out="):
                    out_name = arg[5:]
                else:
                    args.append(self.path(arg) if arg.startswith("@") else arg)
            if need == "pattern" and "--pattern" not in args:
                args += ["--pattern", self.special["@good_bank"]]
            self.program(screen, infile, args, " ".join(extra), pattern, out_name=out_name)

    def python(self, argv_tail, name, pattern):
        out = os.path.join(self.fresh_out_dir(), "out.npy")
        env = dict(os.environ, HALFTONE_LIBRARY=self.args.library,
                   PYTHONPATH=os.path.join(os.path.dirname(os.path.dirname(HERE)), "python"),
                   PYTHONDONTWRITEBYTECODE="1")
        argv = [self.args.python, os.path.join(HERE, "python_front.py")] + \
            [out if a == "@out" else a for a in argv_tail]
        result = run(argv, env=env)
        self.check("python", name, result, pattern, [out], 256)

    def python_cases(self):
        # Page files are read through PIL, whose messages differ from the
        # program's: any typed refusal with a message will do.
        for file, _ in IMAGE_CASES:
            self.python(["image", self.path(file), "need:-", "@out"], file, r".")
        for need, option, file, extra, pattern in DATA_CASES:
            options = {PYTHON_OPTION[option]: self.path(file)}
            for key, value in zip(extra[::2], extra[1::2]):
                options[PYTHON_OPTION[key]] = value
            self.python(["screen", "need:" + need, "@out", json.dumps(options)],
                        f"{option} {file}", pattern)
        for need, extra, pattern in OPTION_CASES:
            if any(a.startswith("@") for a in extra) or extra[0] in ("--planes", "--format"):
                continue  # program-only arguments
            options = {PYTHON_OPTION[extra[0]]: extra[1]}
            if need == "pattern" and "pattern" not in options:
                options["pattern"] = self.special["@good_bank"]
            self.python(["screen", "need:" + need, "@out", json.dumps(options)], " ".join(extra),
                        pattern.replace("-", "[-_]") + "|" + PYTHON_OPTION[extra[0]])
        self.python(["screen", "no-such-screen", "@out", "{}"], "unknown screen", r"no screen")
        for kind, pattern in ARRAY_CASES:
            self.python(["array", kind, "need:-", "@out"], kind, pattern)

    def filter_cases(self):
        for file, options, pattern, begun in RASTER_CASES:
            self.fresh_out_dir()
            result = run([self.args.filter, "1", "user", "title", "1", options, self.path(file)],
                         cwd=self.out_dir)
            name = f"{file} {options}".strip()
            problems = []
            if not begun and result.stdout:
                problems.append(f"{len(result.stdout)} bytes written to standard output")
            if not re.search(r"^ERROR: ", result.stderr, re.MULTILINE):
                problems.append("no ERROR: line")
            self.check("filter", name, result, pattern, [], self.memory(64), problems)

    def main(self):
        python = self.args.python and self.args.library and run(
            [self.args.python, "-c", "import numpy, PIL"]).status == 0
        fronts = [("program", self.args.program, self.program_cases),
                  ("Python module", python, self.python_cases),
                  ("CUPS filter", self.args.filter, self.filter_cases)]
        for label, present, cases in fronts:
            if present:
                cases()
            else:
                print(f"note: the {label} is not built here; its cases are left out")
        shutil.rmtree(self.work, ignore_errors=True)
        for failure in self.failures:
            print("FAIL " + failure)
        peaks = ", ".join(f"{front} {peak:.0f} MiB" for front, peak in self.peaks.items())
        print(f"{self.count} bad inputs, {len(self.failures)} failures; highest peak memory: {peaks}")
        return 1 if self.failures else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for option in ("--program", "--filter", "--python", "--library"):
        parser.add_argument(option)
    parser.add_argument("--sanitized", action="store_true")
    return Checker(parser.parse_args()).main()


if __name__ == "__main__":
    sys.exit(main())
