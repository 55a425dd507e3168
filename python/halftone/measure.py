"""Measurements of screened output, on NumPy arrays of dot codes.

Everything here works on plain arrays, whatever made them: the screens of
this package, a NumPy model, or random numbers. Ink is measured as a
fraction of full coverage: a one-bit code 1 is a full dot, a multi-level code
counts as ``code / full`` where ``full`` is the code of a full dot (so with
two-bit codes 0-3, code 2 is two thirds of a dot). Greys follow the library's convention: 0 is black, 255 white, so the
ideal coverage of grey ``g`` is ``(255 - g) / 255``.

The functions:

* :func:`ink` and :func:`coverage` turn codes into ink;
* :func:`tone_response` summarises coverage against grey (largest deviation
  from the ideal, monotonicity, first dot and first hole);
* :func:`spectrum` gives the radially averaged power spectrum of a flat
  patch, its anisotropy and the share of its energy at low frequencies;
* :func:`edge_lag` measures how late a screen reaches a tone after a step
  from paper or solid ink;
* :func:`seen_error` compares screened detail with the original through a
  blur like the eye's;
* :func:`benchmark_speeds` and :func:`speed_of` read a Google Benchmark JSON
  report;
* :func:`bayer_matrix`, :func:`threshold_screen` and :func:`white_noise` are
  small reference screens with known answers.
"""

from __future__ import annotations

import json
import math
from dataclasses import dataclass, field

import numpy as np

#: Frequencies below this (cycles a pixel) count as low: coarse texture the
#: eye sees at print distance.
LOW_FREQUENCY_CUT = 0.1

#: How far (pixels) the eye blurs a print at reading distance, for
#: :func:`seen_error`: about 0.1 mm at 600 dots an inch.
EYE_SIGMA = 1.5

#: Rings of fewer frequency bins than this get no anisotropy.
MIN_RING_BINS = 16

#: A rise in coverage toward lighter greys larger than this counts as a
#: reversal of the tone response (smaller rises are counting noise).
MONOTONIC_TOLERANCE = 0.005


def ink(codes, full: int = 1, inverted: bool = False) -> np.ndarray:
    """Ink of every pixel as a float in [0, 1]: the code over ``full``, the
    code of a full dot (1 for one-bit screens; for multi-level ones the
    highest code the screen writes, at most its registry row's ``top_code``).

    ``inverted`` is for screens whose set bit is paper: their ink is one less
    the code's share.
    """
    if full <= 0:
        raise ValueError(f"the code of a full dot must be positive, not {full!r}")
    share = np.asarray(codes, dtype=np.float64) / full
    return 1.0 - share if inverted else share


def coverage(codes, full: int = 1, inverted: bool = False) -> float:
    """Mean ink of a patch: the dot fraction, or the mean dot size."""
    return float(ink(codes, full, inverted).mean())


def ideal_coverage(grey):
    """Coverage that reproduces ``grey`` exactly: ``(255 - grey) / 255``."""
    return (255.0 - np.asarray(grey, dtype=np.float64)) / 255.0


def grey_for_coverage(share: float) -> int:
    """The grey whose ideal coverage is nearest to ``share``."""
    return int(round(255.0 * (1.0 - share)))


@dataclass
class ToneResponse:
    """Coverage against grey, and what it says about the screen.

    ``first_dot`` is the lightest grey below white that prints any ink (254
    is ideal; None: no grey below white does), ``first_hole`` the darkest grey
    above black that leaves any paper (1 is ideal; 0 means even black is not
    solid; None: no grey above black leaves paper).
    """

    greys: np.ndarray
    coverage: np.ndarray
    max_deviation: float  # largest |coverage - ideal|
    deviation_grey: int  # where it occurs
    max_reversal: float  # largest rise in coverage from a grey to the next lighter one
    monotonic: bool  # max_reversal within MONOTONIC_TOLERANCE
    first_dot: int | None
    first_hole: int | None

    @property
    def ideal(self) -> np.ndarray:
        return ideal_coverage(self.greys)


def tone_response(greys, cover) -> ToneResponse:
    """Summarises measured coverage ``cover`` at the greys ``greys``."""
    greys = np.asarray(greys, dtype=np.int64)
    cover = np.asarray(cover, dtype=np.float64)
    if greys.shape != cover.shape or greys.ndim != 1 or greys.size == 0:
        raise ValueError("greys and coverage must be equal-length, non-empty 1-D sequences")
    order = np.argsort(greys)
    greys, cover = greys[order], cover[order]
    deviation = np.abs(cover - ideal_coverage(greys))
    worst = int(np.argmax(deviation))
    rises = np.diff(cover) if greys.size > 1 else np.zeros(1)
    reversal = max(float(rises.max()), 0.0)
    inked = greys[(cover > 0) & (greys < 255)]
    open_ = greys[(cover < 1) & (greys > 0)]
    black = cover[greys == 0]
    first_hole = int(open_.min()) if open_.size else None
    if black.size and black[0] < 1:
        first_hole = 0
    return ToneResponse(
        greys=greys,
        coverage=cover,
        max_deviation=float(deviation[worst]),
        deviation_grey=int(greys[worst]),
        max_reversal=reversal,
        monotonic=reversal <= MONOTONIC_TOLERANCE,
        first_dot=int(inked.max()) if inked.size else None,
        first_hole=first_hole,
    )


@dataclass
class Spectrum:
    """Radially averaged power spectrum of a patch of ink.

    ``power[k]`` is the mean power of ring ``k`` (radial frequency
    ``frequency[k]`` cycles a pixel), divided by the variance ``c (1 - c)`` of
    a random pattern of the same coverage, so white noise lies at 1.
    ``anisotropy[k]`` is the ring's variance over its squared mean, in dB
    above a random pattern (0 dB: as isotropic as white noise; NaN for a ring
    without power). ``anisotropy_db`` sums the rings weighted by their power,
    ``low_share`` is the share of all energy below ``cut``.
    """

    frequency: np.ndarray
    power: np.ndarray
    anisotropy: np.ndarray
    anisotropy_db: float
    low_share: float
    mean: float
    cut: float = LOW_FREQUENCY_CUT
    blocks: int = 1
    ring_bins: np.ndarray | None = None  # frequency bins in each ring
    notes: list = field(default_factory=list)

    def peak_frequency(self) -> float:
        """The frequency of the strongest ring of at least ``MIN_RING_BINS`` bins."""
        wide = self.ring_bins >= MIN_RING_BINS
        return float(self.frequency[wide][np.argmax(self.power[wide])])


def _periodogram(patch: np.ndarray, block: int) -> tuple[np.ndarray, int]:
    rows, cols = patch.shape[0] // block, patch.shape[1] // block
    if rows == 0 or cols == 0:
        raise ValueError(f"a patch of {patch.shape} holds no {block} x {block} block")
    total = np.zeros((block, block))
    for r in range(rows):
        for c in range(cols):
            tile = patch[r * block : (r + 1) * block, c * block : (c + 1) * block]
            total += np.abs(np.fft.fft2(tile - tile.mean())) ** 2
    count = rows * cols
    return total / (count * block * block), count


def radial_frequency(block: int) -> np.ndarray:
    """Radial frequency (cycles a pixel) of every bin of a ``block``-point 2-D FFT."""
    f = np.fft.fftfreq(block)
    return np.hypot(f[:, None], f[None, :])


def spectrum(ink_patch, block: int = 128, cut: float = LOW_FREQUENCY_CUT) -> Spectrum:
    """The spectrum of a flat patch of ink (floats in [0, 1]).

    The patch is cut into ``block`` x ``block`` tiles whose periodograms are
    averaged (Bartlett's method); rings are one frequency step (1 / block)
    wide, out to the corner of the frequency plane (0.71 cycles a pixel);
    anisotropy is measured on the rings of at least ``MIN_RING_BINS`` bins.
    """
    patch = np.asarray(ink_patch, dtype=np.float64)
    if patch.ndim != 2:
        raise ValueError("a spectrum needs a 2-D patch")
    power, count = _periodogram(patch, block)
    mean = float(patch.mean())
    variance = mean * (1.0 - mean)
    radius = radial_frequency(block)
    ring = np.rint(radius * block).astype(np.int64)
    rings = int(ring.max())
    inside = ring >= 1
    sums = np.bincount(ring[inside], weights=power[inside], minlength=rings + 1)[1:]
    squares = np.bincount(ring[inside], weights=power[inside] ** 2, minlength=rings + 1)[1:]
    sizes = np.bincount(ring[inside], minlength=rings + 1)[1:]
    ring_mean = sums / sizes
    ring_var = np.maximum(squares / sizes - ring_mean**2, 0.0)
    # Rings of a few bins (near the corners) say nothing about direction.
    live = (ring_mean > 1e-12 * max(variance, 1e-300)) & (sizes >= MIN_RING_BINS)
    ratio = np.full(rings, np.nan)
    ratio[live] = ring_var[live] / ring_mean[live] ** 2 * count
    with np.errstate(divide="ignore"):
        aniso = np.where(live, 10.0 * np.log10(np.where(live, ratio, 1.0)), np.nan)
    notes = []
    if live.any():
        weighted = float(np.sum(ring_mean[live] * ratio[live]) / np.sum(ring_mean[live]))
        aniso_db = 10.0 * math.log10(weighted) if weighted > 0 else -math.inf
    else:
        aniso_db = math.nan
        notes.append("no texture in rings wide enough to measure its direction")
    ac = radius > 0
    energy = float(power[ac].sum())
    low = float(power[ac & (radius < cut)].sum()) / energy if energy > 0 else math.nan
    scale = variance if variance > 0 else 1.0
    return Spectrum(
        frequency=np.arange(1, rings + 1) / block,
        power=ring_mean / scale,
        anisotropy=aniso,
        anisotropy_db=aniso_db,
        low_share=low,
        mean=mean,
        cut=cut,
        blocks=count,
        ring_bins=sizes,
        notes=notes,
    )


def white_noise_low_share(block: int = 128, cut: float = LOW_FREQUENCY_CUT) -> float:
    """The low-frequency share of white noise: the share of bins below ``cut``."""
    radius = radial_frequency(block)
    return float(np.count_nonzero((radius > 0) & (radius < cut)) / np.count_nonzero(radius > 0))


def edge_lag(profile, steady: float) -> float:
    """How many pixels of the minority colour a step costs.

    ``profile`` is the ink of each column (or row) after a step from paper to
    a tone of ``steady`` coverage (or from solid ink, for tones above one
    half, where paper is the minority): the lag sums the minority's shortfall
    against its steady share, in units of steady columns. A screen that
    reaches its tone at once has lag 0; one that prints nothing for ``d``
    columns and then its tone has lag ``d``.
    """
    profile = np.asarray(profile, dtype=np.float64)
    if steady > 0.5:
        profile, steady = 1.0 - profile, 1.0 - steady
    if steady <= 0:
        return 0.0
    return float(np.sum(steady - profile) / steady)


def blur(image, sigma: float) -> np.ndarray:
    """``image`` blurred by a Gaussian of ``sigma`` pixels (edges mirrored)."""
    image = np.asarray(image, dtype=np.float64)
    radius = max(1, int(math.ceil(3 * sigma)))
    taps = np.exp(-0.5 * (np.arange(-radius, radius + 1) / sigma) ** 2)
    taps /= taps.sum()
    out = np.pad(image, radius, mode="symmetric")
    out = np.apply_along_axis(np.convolve, 0, out, taps, mode="valid")
    return np.apply_along_axis(np.convolve, 1, out, taps, mode="valid")


def seen_error(ink_image, ideal, sigma: float = EYE_SIGMA) -> float:
    """Root-mean-square difference, as the eye sees it, between screened ink
    and the ideal ink: both blurred by a Gaussian of ``sigma`` pixels. A
    screen that renders the detail of ``ideal`` faithfully scores near 0."""
    ink_image, ideal = np.asarray(ink_image), np.asarray(ideal)
    if ink_image.shape != ideal.shape:
        raise ValueError(f"shapes differ: {ink_image.shape} and {ideal.shape}")
    return float(np.sqrt(np.mean((blur(ink_image, sigma) - blur(ideal, sigma)) ** 2)))


def bayer_matrix(order: int = 16) -> np.ndarray:
    """The recursive dispersed-dot index matrix of side ``order`` (a power of 2)."""
    if order < 2 or order & (order - 1):
        raise ValueError("the order must be a power of 2, at least 2")
    m = np.array([[0, 2], [3, 1]], dtype=np.int64)
    while m.shape[0] < order:
        m = np.block([[4 * m, 4 * m + 2], [4 * m + 3, 4 * m + 1]])
    return m


def threshold_screen(grey, thresholds, strict: bool = True) -> np.ndarray:
    """A dot (1) where the grey is below its tiled threshold (``<=`` when not ``strict``)."""
    grey = np.asarray(grey, dtype=np.int64)
    t = np.asarray(thresholds, dtype=np.int64)
    reps = (-(-grey.shape[0] // t.shape[0]), -(-grey.shape[1] // t.shape[1]))
    tiled = np.tile(t, reps)[: grey.shape[0], : grey.shape[1]]
    return (grey < tiled if strict else grey <= tiled).astype(np.uint8)


def white_noise(shape, share: float, seed: int = 0) -> np.ndarray:
    """Independent random dots, each set with probability ``share``."""
    return (np.random.default_rng(seed).random(shape) < share).astype(np.uint8)


def benchmark_speeds(report) -> dict[str, float]:
    """Megapixels a second by benchmark name from a Google Benchmark JSON report.

    ``report`` is the parsed JSON or its text. The ``MP/s`` counter is used:
    the median aggregate when there is one, else the best of repeated runs.
    """
    if isinstance(report, (str, bytes)):
        report = json.loads(report)
    if not isinstance(report, dict) or not isinstance(report.get("benchmarks"), list):
        raise ValueError("not a Google Benchmark JSON report (no 'benchmarks' list)")
    speeds: dict[str, float] = {}
    medians: dict[str, float] = {}
    for run in report["benchmarks"]:
        value = run.get("MP/s") if isinstance(run, dict) else None
        if not isinstance(value, (int, float)) or isinstance(value, bool):
            continue
        name = str(run.get("run_name") or run.get("name", ""))
        if run.get("run_type") == "aggregate":
            if run.get("aggregate_name") == "median":
                medians[name] = float(value)
        else:
            speeds[name] = max(speeds.get(name, 0.0), float(value))
    speeds.update(medians)
    return speeds


def speed_of(speeds: dict[str, float], *names: str) -> float | None:
    """The speed of the benchmark named after any of ``names``.

    A benchmark matches when one of the ``/``-separated parts of its name,
    less a ``BM_`` prefix, is one of the names; the fastest match counts.
    """
    wanted = {n for n in names if n}
    found = None
    for bench, value in speeds.items():
        parts = {p[3:] if p.startswith("BM_") else p for p in bench.split("/")}
        if parts & wanted:
            found = value if found is None else max(found, value)
    return found
