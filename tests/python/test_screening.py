"""Every screen against the command-line program, option errors, jobs and threads."""
import concurrent.futures
import os
import re
import subprocess
import sys

import numpy as np
import pytest

import halftone
from conftest import gradient

SEED = 5
DATA_NEEDS = {"pattern", "pattern2", "matrix", "blocks"}


def options(screen):
    opts = {"seed_time": SEED}
    if "tone-curves" in screen.needs:
        opts["mode"] = 2
    if screen.levels:
        opts["levels"] = [round(i * 255 / (screen.levels - 1)) for i in range(screen.levels)]
    return opts


SELF_CONTAINED = [s for s in halftone.screens() if not DATA_NEEDS & set(s.needs)]
BANDED = [s for s in SELF_CONTAINED if s.banding != "whole-page"]


def test_registry_rows_are_found_by_id_and_entry():
    rows = halftone.screens()
    assert len({s.id for s in rows}) == len(rows) and BANDED
    for row in rows:
        assert halftone.find_screen(row.id) is row and halftone.find_screen(row.entry) is row


@pytest.mark.parametrize("name, hint", [
    ("tone-psh", "did you mean tone-push"),
    ("Ordered-16", "did you mean ordered-16"),
    ("nope", "halftone.screens() lists them"),
    ("zzzzzzzzzzzz", "halftone.screens() lists them"),
    ("tone-push\0x", "no screen named 'tone-push"),  # C would stop reading at the NUL
    ("tone-p\udcffsh", "no screen named"),
])
def test_unknown_names_suggest_only_close_ones(name, hint):
    with pytest.raises(KeyError, match=re.escape(hint)):
        halftone.find_screen(name)


def test_paper_bits_mark_the_screens_that_set_a_white_page():
    white = np.full((8, 32), 255, np.uint8)
    for s in BANDED:
        if s.bits == 1:
            assert (halftone.screen(white, s.id, **options(s)).mean() > 0.5) == s.paper_bits, s.id


FRESH = """
import sys, numpy
sys.path.insert(0, sys.argv[1])
import halftone
numpy.save(sys.argv[2], halftone.screen(numpy.load(sys.argv[2]), sys.argv[3], band_height=4,
                                        **eval(sys.argv[4])))
"""


def screen_as_the_program(screen, page, opts, folder):
    # Whole-page utilities draw from a never-reseeded generator: a fresh interpreter.
    if screen.banding != "whole-page":
        return halftone.screen(page, screen.id, band_height=4, **opts)
    np.save(folder / "page.npy", page)
    package = os.path.dirname(os.path.dirname(halftone.__file__))
    subprocess.run([sys.executable, "-c", FRESH, package, str(folder / "page.npy"), screen.id,
                    repr(opts)], check=True)
    return np.load(folder / "page.npy")


@pytest.mark.parametrize("screen", SELF_CONTAINED, ids=lambda s: s.id)
def test_codes_equal_the_programs_raw_output(screen, tool, tmp_path):
    planes = 1 if screen.banding == "whole-page" else 2
    page = gradient(9, 23, planes, seed=len(screen.id))
    opts = options(screen)
    codes = screen_as_the_program(screen, page, opts, tmp_path)

    height, width = (23, 9) if screen.layout != "same" else (9, 23)
    assert codes.shape == (planes, height, width) and codes.dtype == np.uint8
    assert codes.max() < 1 << screen.bits

    source, raw = tmp_path / "in.pgm", tmp_path / "out.raw"
    source.write_bytes(b"P5\n23 %d\n255\n" % (9 * planes) + page.tobytes())
    command = [tool, "screen", screen.id, str(source), str(raw), "--raw", "--planes",
               str(planes), "--band-height", "4", "--seed-time", str(SEED)]
    if "mode" in opts:
        command += ["--mode", "2"]
    if "levels" in opts:
        command += ["--levels", ",".join(map(str, opts["levels"]))]
    subprocess.run(command, check=True, capture_output=True)
    # Codes, not bytes: a turned utility may set bits in the row padding.
    lines = np.frombuffer(raw.read_bytes(), np.uint8).reshape(height * planes, -1)
    padded = np.zeros((height * planes, halftone.row_bytes(width, screen.bits)), np.uint8)
    used = (width * screen.bits + 7) // 8
    assert lines.shape[1] >= used
    padded[:, :used] = lines[:, :used]
    np.testing.assert_array_equal(
        halftone.unpack(padded, width, screen.bits, planes).reshape(codes.shape), codes)


@pytest.mark.parametrize("kwargs, message", [
    ({"seed_time": 1.5}, "seed_time must be a whole number"),
    ({"levels": [0, 300]}, "a level must be 0..255"),
    ({"levels": "a,b"}, "levels='a,b': ."),
    ({"mode": 9}, "mode=9: ."),
    ({"threads": 0}, "threads=0: ."),
    ({"data_folder": "/tmp\0/none"}, "data_folder holds a NUL character"),
    ({"levels": "0,255\0,9"}, "levels holds a NUL character"),
])
def test_bad_options_are_refused(kwargs, message):
    with pytest.raises(ValueError, match=message):
        halftone.screen(np.zeros((4, 4), np.uint8), BANDED[0].id, **kwargs)


@pytest.mark.parametrize("call, message", [
    (lambda job, page: job.page(page / 255.0, 5), None),  # scaled as screen() scales it
    (lambda job, page: job.page(page.astype(np.int16) - 1, 5), "dtype int16 is not accepted"),
    (lambda job, page: job.page(np.full(page.shape, np.nan), 5), "NaN"),
    (lambda job, page: job.page(page[0], 5), "1 dimensions"),
    (lambda job, page: job.band(page[np.newaxis, np.newaxis]), "4 dimensions"),
    (lambda job, page: job.band(page.astype(np.float32) * 2), r"values in \[0, 1\]"),
    (lambda job, page: job.output_shape(-1), "rows must be 0..4294967295"),
    (lambda job, page: job.output_shape(2 ** 32 + 3), "rows must be 0..4294967295"),
])
def test_jobs_read_pages_as_screen_does(call, message):
    page = gradient(20, 30)
    with halftone.Job(BANDED[0].id, 30, **options(BANDED[0])) as job:
        if message is None:
            np.testing.assert_array_equal(
                call(job, page)[0],
                halftone.screen(page, BANDED[0].id, band_height=5, **options(BANDED[0])))
        else:
            with pytest.raises(ValueError, match=message):
                call(job, page)


def test_missing_data_file_is_a_library_error(tmp_path):
    screen = next(s for s in halftone.screens() if "matrix" in s.needs)
    with pytest.raises(halftone.Error) as raised:
        halftone.screen(gradient(8, 8), screen.id, matrix=tmp_path / "none.bmp")
    assert raised.value.code == halftone.ERR_FILE_OPEN
    assert isinstance(raised.value, RuntimeError) and screen.id in str(raised.value)


def test_job_pages_band_by_band_equal_screen():
    screen = next(s for s in BANDED if s.banding == "carried")
    page = gradient(30, 17, planes=3)
    expected = halftone.screen(page, screen.id, band_height=7, **options(screen))
    with halftone.Job(screen.id, 17, 3, **options(screen)) as job:
        for _ in range(2):  # the job runs a second page the same
            rows = [job.band(page[:, y:y + 7]) for y in range(0, 30, 7)]
            job.finish()
            np.testing.assert_array_equal(
                halftone.unpack(np.concatenate(rows), 17, screen.bits, planes=3), expected)
    with pytest.raises(ValueError, match="closed"):
        job.finish()


def test_eight_threads_give_the_sequential_codes():
    pages = [gradient(48, 40 + i, planes=3, seed=i) for i in range(4)]
    work = [(s, i) for s in BANDED for i in range(len(pages))]

    def run(item):
        screen, i = item
        return halftone.screen(pages[i], screen.id, band_height=5, **options(screen))

    sequential = [run(item) for item in work]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        for _ in range(2):
            threaded = list(pool.map(run, work[::-1]))[::-1]
            for (screen, i), want, got in zip(work, sequential, threaded):
                np.testing.assert_array_equal(got, want, err_msg=f"{screen.id} page {i}")
