"""Quality measurements on known answers, and the report: regenerated identically,
bad input refused."""
import json
import math
import os

import numpy as np
import pytest

import halftone
from halftone import measure, report

BAYER = measure.bayer_matrix(16)
GREYS = np.arange(256)


def bayer_coverage(grey):
    return np.count_nonzero(BAYER > grey) / 256


@pytest.mark.parametrize("name, cover, expect", [
    # an ordered dither: dot where grey < matrix entry; black keeps one hole a tile
    ("bayer", [bayer_coverage(g) for g in GREYS],
     dict(max_deviation=1 / 256, deviation_grey=0, monotonic=True, first_dot=254, first_hole=0)),
    # a single threshold at 127: the response is a step
    ("step", (GREYS <= 127).astype(float),
     dict(max_deviation=127 / 255, deviation_grey=127, monotonic=True, first_dot=127,
          first_hole=128)),
    ("ideal", measure.ideal_coverage(GREYS),
     dict(max_deviation=0.0, monotonic=True, first_dot=254, first_hole=1)),
    ("blank", np.zeros(256),
     dict(max_deviation=1.0, deviation_grey=0, monotonic=True, first_dot=None, first_hole=0)),
    ("reversed at 200", np.where(GREYS == 200, 0.5, measure.ideal_coverage(GREYS)),
     dict(monotonic=False, deviation_grey=200)),
])
def test_tone_response_known_answers(name, cover, expect):
    tone = measure.tone_response(GREYS, cover)
    for key, value in expect.items():
        got = getattr(tone, key)
        assert got == pytest.approx(value, abs=1e-12) if isinstance(value, float) \
            else got == value, (name, key, got)


@pytest.mark.parametrize("codes, full, inverted, expect", [
    ([[0, 1], [1, 1]], 1, False, 0.75),
    ([[0, 1], [1, 1]], 1, True, 0.25),
    ([[0, 1], [2, 3]], 3, False, 0.5),
    ([[15, 5]], 15, False, 2 / 3),
    ([[7, 0]], 7, False, 0.5),  # eight levels in four-bit codes
])
def test_coverage_of_codes(codes, full, inverted, expect):
    assert measure.coverage(codes, full, inverted) == pytest.approx(expect)


@pytest.mark.parametrize("share", [1 / 16, 1 / 4, 1 / 2, 3 / 4])
def test_white_noise_has_a_flat_isotropic_spectrum(share):
    raps = measure.spectrum(measure.white_noise((512, 512), share, seed=7))
    assert raps.mean == pytest.approx(share, abs=0.01)
    assert np.mean(raps.power) == pytest.approx(1.0, abs=0.03)
    # whole rings past the first few hold enough bins for a tight average
    full = (raps.frequency > 0.06) & (raps.frequency <= 0.5)
    assert np.all(np.abs(raps.power[full] - 1) < 0.25)
    assert abs(raps.anisotropy_db) < 0.5
    assert raps.low_share == pytest.approx(measure.white_noise_low_share(), rel=0.1)


@pytest.mark.parametrize("grey, period", [(239, 4), (191, 2), (127, 2)])
def test_ordered_dither_texture_is_periodic(grey, period):
    raps = measure.spectrum(measure.threshold_screen(np.full((256, 256), grey), BAYER))
    assert raps.low_share < 1e-3
    # a grid, not a random pattern (the checkerboard's one frequency is in a corner)
    assert raps.anisotropy_db > 10 if grey != 127 else math.isnan(raps.anisotropy_db)
    assert raps.power[raps.frequency < 1 / period - 1e-9].max() < 0.05


@pytest.mark.parametrize("profile, steady, lag", [
    ([0.25] * 64, 0.25, 0.0),
    ([0.0] * 5 + [0.25] * 59, 0.25, 5.0),  # nothing for five columns, then the tone
    ([1.0] * 3 + [0.75] * 61, 0.75, 3.0),  # shadows: paper is what is missing
    ([0.5] * 2 + [0.25] * 62, 0.25, -2.0),  # overshoot counts against the lag
    ([0.0] * 64, 0.0, 0.0),
])
def test_edge_lag(profile, steady, lag):
    assert measure.edge_lag(profile, steady) == pytest.approx(lag)


@pytest.mark.parametrize("name, screened, expect", [
    ("the original itself", np.full((64, 64), 0.5), 0.0),
    ("a checkerboard, finer than the eye", np.indices((64, 64)).sum(axis=0) % 2, 0.0),
    ("white noise", measure.white_noise((64, 64), 0.5, seed=3), 0.5 / (2 * 1.5 * math.pi**0.5)),
    ("solid ink", np.ones((64, 64)), 0.5),
])
def test_seen_error_against_mid_grey(name, screened, expect):
    error = measure.seen_error(screened, np.full((64, 64), 0.5))
    assert error == pytest.approx(expect, abs=0.02), name


def registry_screen(family, need, bits=1):
    found = [s for s in halftone.screens()
             if s.family == family and need in s.needs and s.bits == bits]
    assert found, f"no {bits}-bit {family} screen reading {need!r} in the registry"
    return found[0]


def test_library_ordered_dither_covers_count_of_larger_entries():
    screen = registry_screen("matrix", "built-matrix")
    page = np.repeat(GREYS.astype(np.uint8), 16)[None, :].repeat(16, axis=0)  # 16 x 4096
    dots = halftone.screen(page, screen.id)
    tiles = dots.reshape(16, 256, 16).sum(axis=(0, 2)) / 256
    assert np.array_equal(tiles, [bayer_coverage(g) for g in GREYS])
    assert np.array_equal(dots[:, :16], measure.threshold_screen(page[:, :16], BAYER))


def test_library_threshold_screen_step_response(tmp_path):
    screen = registry_screen("loaded", "matrix")
    matrix = tmp_path / "step.bmp"
    matrix.write_bytes(report.threshold_bmp(np.full((16, 16), 127)))
    page = np.repeat(GREYS.astype(np.uint8), 4)[None, :].repeat(8, axis=0)
    dots = halftone.screen(page, screen.id, matrix=str(matrix))
    cover = dots.reshape(8, 256, 4).mean(axis=(0, 2))
    tone = measure.tone_response(GREYS, cover)
    assert (tone.first_dot, tone.first_hole, tone.monotonic) == (127, 128, True)
    assert np.array_equal(cover, GREYS <= 127)


@pytest.fixture(scope="module")
def two_screens():
    """A random one-bit diffusion and a multi-level screen."""
    rows = halftone.screens()
    one = next(s for s in rows if s.family == "diffusion" and s.bits == 1)
    multi = next(s for s in rows if s.bits > 1 and s.levels)
    return f"{one.id},{multi.id}"


def test_report_is_regenerated_identically(tmp_path, two_screens):
    first = two_screens.split(",")[0]
    bench = tmp_path / "bench.json"
    bench.write_text(json.dumps({"benchmarks": [{"name": f"BM_{first}", "MP/s": 123.0}]}))
    # The first run goes into a folder holding an earlier report and a file of the user's.
    (tmp_path / "a" / "plots").mkdir(parents=True)
    (tmp_path / "a" / "plots" / "stale.png").write_bytes(b"old")
    (tmp_path / "a" / "notes.txt").write_text("mine")
    pages = []
    for run in ("a", "b"):
        out = tmp_path / run
        results = report.build(str(out), seed_time=1000, screens=two_screens, patch=16,
                               bench=str(bench))
        assert not any("skipped" in r.numbers for r in results)
        pages.append({name: (out / name).read_bytes()
                      for name in ("measurements.json", "measurements.csv", "index.html")})
    assert pages[0] == pages[1]
    numbers = json.loads(pages[0]["measurements.json"])
    assert [s["id"] for s in numbers["screens"]] == two_screens.split(",")
    assert [s["speed"] for s in numbers["screens"]] == [123.0, None]
    assert len(numbers["screens"][0]["coverage"]) == 256
    assert (tmp_path / "a" / "plots" / f"{first}-tone.png").exists()
    assert not (tmp_path / "a" / "plots" / "stale.png").exists()
    assert (tmp_path / "a" / "notes.txt").read_text() == "mine"
    assert not [p for p in os.listdir(tmp_path) if p.startswith(".report-")]


@pytest.mark.parametrize("args, message", [
    (["--screens", "no-such-screen"], "no screen named"),
    (["--bench", "missing.json"], "cannot read the benchmark report"),
    (["--bench", "bad.json"], "not a Google Benchmark JSON report"),
    (["--patch", "8"], "--patch must be"),
])
def test_report_refuses_bad_input_and_writes_nothing(tmp_path, capsys, args, message):
    (tmp_path / "bad.json").write_text('{"benchmarks": 3}')
    out = tmp_path / "out"
    argv = ["--out", str(out)] + [str(tmp_path / a) if a.endswith(".json") else a for a in args]
    assert report.main(argv) == 2
    assert message in capsys.readouterr().err
    assert sorted(os.listdir(tmp_path)) == ["bad.json"]
