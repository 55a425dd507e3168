"""A quality report for every screen of the library.

    /usr/bin/python3 -m halftone.report --out DIR [--bench bench.json] [--seed-time 1000]

screens flat patches, steps and a sample picture with every screen of the
registry, measures them with ``halftone.measure`` and writes ``DIR/index.html``:
a guide to choosing a screen (written from the rankings), a sortable table of
the numbers, and for each screen its tone response, its spectra and the
sample at 1:1 and enlarged. ``DIR/measurements.json`` holds every number;
with the same seed time and library the folder is written byte for byte the
same. ``--bench`` adds the speeds of a Google Benchmark JSON report
(``halftone_bench --benchmark_format=json``).
"""

from __future__ import annotations

import argparse
import csv
import html
import importlib.util
import json
import math
import os
import shutil
import struct
import sys
import tempfile
import time
from dataclasses import dataclass, field

import numpy as np

from . import measure

DEFAULT_SEED_TIME = 1000
DEFAULT_PATCH = 128
TONE_MODE = 2  # tone-curve mode for the screens that read curves, as in the demo
TEXTURE_SHARES = (1 / 16, 1 / 4, 1 / 2, 3 / 4)
TEXTURE_PATCH = 256  # side of the measured part of a texture patch
TEXTURE_MARGIN = 32  # rows and columns screened first and dropped (start-up)
STEP_LEAD = 32  # paper (or solid) before and after the grey band of a step
STEP_BAND = 64  # width of the grey band of a step
STEP_LENGTH = 256  # length of the step's edges
SAMPLE_SHAPE = (128, 256)
ENLARGE = 4
SPECTRUM_FLOOR = 1e-3  # power shown at the plot's floor (periodic screens have none)

# What the guide asks of a screen before ranking it.
PHOTO_MAX_DEVIATION = 0.06
PHOTO_MAX_ANISOTROPY = 6.0  # dB above a random pattern
TEXT_MAX_DEVIATION = 0.10
PROOF_MAX_DEVIATION = 0.10
LATE_FIRST_DOT = 245  # a first dot below this grey loses the lightest highlights
EARLY_FIRST_HOLE = 10  # a first hole above this grey fills in the deepest shadows


class ReportError(Exception):
    """Bad arguments or input: reported with a message, nothing written."""


# ---- Data files for the screens that read them ----


def clustered_ranks(side: int = 16, cell: int = 8) -> np.ndarray:
    """The order in which a ``side`` x ``side`` tile takes ink: round dots grow
    from the centres of ``cell`` x ``cell`` cells, the cells taking turns."""
    centre = (cell - 1) / 2
    keys = []
    for i in range(side * side):
        x, y = i % side, i // side
        dx, dy = x % cell - centre, y % cell - centre
        cells = side // cell
        turn = (y // cell) * cells + ((x // cell) + (y // cell)) % cells
        keys.append((round((dx * dx + dy * dy) * 4), math.atan2(dy, dx), turn, i))
    ranks = np.zeros(side * side, dtype=np.int64)
    for rank, key in enumerate(sorted(keys)):
        ranks[key[3]] = rank
    return ranks.reshape(side, side)


def pattern_bank(bits: int, width: int, height: int, ranks=None) -> bytes:
    """256 patterns of ``width`` x ``height`` codes, grey 255 first, packed
    ``bits`` a pixel, leftmost pixel in the high bits: the tile of ``ranks``
    inked in rank order (partial dots last for multi-level codes)."""
    if width % (8 // bits) or width <= 0 or height <= 0:
        raise ValueError(f"a {bits}-bit bank needs a width in whole bytes, not {width}")
    ranks = clustered_ranks() if ranks is None else np.asarray(ranks)
    side_y, side_x = ranks.shape
    levels = (1 << bits) - 1
    tile = np.tile(ranks, (-(-height // side_y), -(-width // side_x)))[:height, :width]
    out = bytearray()
    for grey in range(255, -1, -1):
        ink = int(math.floor((255 - grey) * ranks.size * levels / 255 + 0.5))
        codes = np.clip(ink - levels * tile, 0, levels).astype(np.uint8)
        per_byte = 8 // bits
        shifts = (8 - bits - bits * np.arange(per_byte)).astype(np.uint8)
        grouped = codes.reshape(height, width // per_byte, per_byte) << shifts
        out += np.bitwise_or.reduce(grouped, axis=2).astype(np.uint8).tobytes()
    return bytes(out)


def threshold_bmp(tile) -> bytes:
    """A 256 x 256 8-bit BMP holding ``tile`` (thresholds 0-255) tiled."""
    tile = np.asarray(tile, dtype=np.uint8)
    side = 256
    plane = np.tile(tile, (side // tile.shape[0] + 1, side // tile.shape[1] + 1))[:side, :side]
    palette = b"".join(struct.pack("<I", i * 0x010101) for i in range(256))
    offset = 14 + 40 + len(palette)
    header = b"BM" + struct.pack("<IHHI", offset + side * side, 0, 0, offset)
    info = struct.pack("<IiiHHIIiiII", 40, side, side, 1, 8, 0, side * side, 2835, 2835, 256, 0)
    return header + info + palette + plane[::-1].tobytes()  # rows bottom-up


def threshold_blocks(tile) -> bytes:
    """A threshold-block text file: the 16 x 16 ``tile`` of offsets for every
    grey (256 blocks), one tile row a line."""
    tile = np.asarray(tile, dtype=np.int64)
    block = "".join(" ".join(str(v) for v in row) + " \r\n" for row in tile)
    return (block * 256).encode("ascii")


def write_data_files(folder: str, screens) -> dict:
    """Writes the data files the ``screens`` read into ``folder``; returns the
    screen options for each screen id (paths and pattern sizes)."""
    os.makedirs(folder, exist_ok=True)
    ranks = clustered_ranks()
    written: dict[str, str] = {}

    def put(name: str, make) -> str:
        if name not in written:
            path = os.path.join(folder, name)
            with open(path, "wb") as f:
                f.write(make())
            written[name] = path
        return written[name]

    options = {}
    for s in screens:
        opts, files = {}, []
        width, height = s.pattern_size or (16, 16)
        if "pattern" in s.needs:
            opts["pattern"] = put(f"clustered-1bit-{width}x{height}.pat",
                                  lambda: pattern_bank(1, width, height, ranks))
        if "pattern2" in s.needs:
            opts["pattern2"] = put(f"clustered-2bit-{width}x{height}.pat",
                                   lambda: pattern_bank(2, width, height, ranks))
        if "pattern" in s.needs or "pattern2" in s.needs:
            opts["pattern_size"] = (width, height)
        if "matrix" in s.needs:
            opts["matrix"] = put("clustered.bmp", lambda: threshold_bmp(ranks * 255 // 256))
        if "blocks" in s.needs:
            offsets = np.trunc((ranks - 128) / 8).astype(np.int64)
            opts["blocks"] = put("clustered-blocks.txt", lambda: threshold_blocks(offsets))
        for key in ("pattern", "pattern2", "matrix", "blocks"):
            if key in opts:
                files.append(os.path.basename(opts[key]))
        options[s.id] = (opts, files)
    return options


# ---- Pictures screened for every screen ----


def sample_picture() -> np.ndarray:
    """A 128 x 256 grey picture: a ramp from white to black, a soft shaded
    ball, and type and hairlines in black and mid grey."""
    from PIL import Image, ImageDraw, ImageFont

    h, w = SAMPLE_SHAPE
    page = np.full((h, w), 255, dtype=np.uint8)
    page[:48] = np.round(255 - np.arange(w) * 255 / (w - 1)).astype(np.uint8)
    y, x = np.mgrid[48:h, 0:128]
    ball = np.exp(-((x - 62) ** 2 + (y - 88) ** 2) / (2 * 26.0**2))
    light = np.exp(-((x - 50) ** 2 + (y - 74) ** 2) / (2 * 10.0**2))
    page[48:, :128] = np.clip(250 - 190 * ball + 60 * light, 0, 255).astype(np.uint8)
    text = Image.fromarray(page[48:, 128:].copy())
    draw = ImageDraw.Draw(text)
    font = ImageFont.load_default()
    for i, grey in enumerate((0, 128, 200)):
        draw.text((6, 6 + 14 * i), "Halftone", fill=grey, font=font)
        draw.text((66, 6 + 14 * i), f"grey {grey}", fill=grey, font=font)
    for i, grey in enumerate((0, 128, 200)):
        draw.line((6, 58 + 5 * i, 120, 58 + 5 * i), fill=grey, width=1)
    page[48:, 128:] = np.asarray(text)
    return page


# Ways a screen may write its page turned over (besides its layout's turn).
TURNS = (
    ("", lambda a: a),
    ("upside down", np.flipud),
    ("mirrored", np.fliplr),
    ("half turned", lambda a: np.rot90(a, 2)),
)

# Parts of the sample picture compared with the original through the eye's blur.
SAMPLE_REGIONS = (
    ("photo", slice(0, 128), slice(0, 128)),  # the ramp's light half and the shaded ball
    ("type", slice(48, 128), slice(128, 256)),  # type and hairlines
)


def _flat(grey: int, rows: int, cols: int) -> np.ndarray:
    return np.full((rows, cols), grey, dtype=np.uint8)


def _band_steps(grey: int, lead_grey: int) -> tuple[np.ndarray, np.ndarray]:
    """A grey band between ``lead_grey`` margins, across and down the page."""
    span = 2 * STEP_LEAD + STEP_BAND
    across = _flat(lead_grey, STEP_LENGTH, span)
    across[:, STEP_LEAD : STEP_LEAD + STEP_BAND] = grey
    return across, np.ascontiguousarray(across.T)


# ---- Measuring one screen ----


@dataclass
class Setting:
    """A screen with the options it is measured under."""

    screen: object  # a halftone.Screen row
    options: dict
    description: str
    files: list = field(default_factory=list)


@dataclass
class Result:
    setting: Setting
    numbers: dict  # everything that goes into measurements.json
    coverage: np.ndarray | None = None
    spectra: list = field(default_factory=list)
    sample: np.ndarray | None = None  # ink of the sample picture
    note: str = ""


def setting_for(screen, data_options) -> Setting:
    options, files = data_options.get(screen.id, ({}, []))
    options = dict(options)
    said = []
    if screen.levels:
        options["levels"] = screen.default_levels
        said.append("levels " + ",".join(map(str, options["levels"])))
    if "tone-curves" in screen.needs:
        options["mode"] = TONE_MODE
        said.append(f"mode {TONE_MODE}")
    if files:
        said.append("data " + ", ".join(files))
    return Setting(screen, options, "; ".join(said) or "defaults", files)


class _Screener:
    """Screens pictures with one setting, turned back to the source's orientation."""

    def __init__(self, module, setting: Setting, seed_time: int):
        self.module, self.setting, self.seed_time = module, setting, seed_time
        self.inverted = False
        self.full = 1

    def codes(self, picture: np.ndarray) -> np.ndarray:
        out = self.module.screen(picture, self.setting.screen.id, seed_time=self.seed_time,
                                 **self.setting.options)
        layout = self.setting.screen.layout
        if layout == "transposed":
            out = out.T
        elif layout == "rotated":
            out = np.rot90(out, 1)
        return out

    def ink(self, picture: np.ndarray) -> np.ndarray:
        return measure.ink(self.codes(picture), self.full, self.inverted)


def measure_setting(module, setting: Setting, seed_time: int, patch: int) -> Result:
    """Every measurement of one screen under one setting."""
    s = setting.screen
    screener = _Screener(module, setting, seed_time)
    greys = np.arange(256)
    codes = [screener.codes(_flat(g, patch, patch)) for g in greys]
    # A full dot is the highest code the screen writes (multi-level screens may
    # use fewer codes than their bits hold).
    screener.full = int(max(c.max() for c in codes)) or s.top_code
    raw = np.array([c.mean() for c in codes]) / screener.full
    del codes
    # A screen whose set bit is paper prints more set bits on white than on black.
    screener.inverted = bool(raw[255] > raw[0])
    cover = 1.0 - raw if screener.inverted else raw
    tone = measure.tone_response(greys, cover)

    side = TEXTURE_PATCH + TEXTURE_MARGIN
    spectra, texture = [], []
    for share in TEXTURE_SHARES:
        grey = measure.grey_for_coverage(share)
        patch_ink = screener.ink(_flat(grey, side, side))[TEXTURE_MARGIN:, TEXTURE_MARGIN:]
        raps = measure.spectrum(patch_ink)
        across, down = _band_steps(grey, 255 if raps.mean <= 0.5 else 0)
        band = slice(STEP_LEAD, STEP_LEAD + STEP_BAND)
        lag_x = measure.edge_lag(screener.ink(across)[:, band].mean(axis=0), raps.mean)
        lag_y = measure.edge_lag(screener.ink(down)[band, :].mean(axis=1), raps.mean)
        spectra.append((share, grey, raps))
        texture.append({
            "share": share,
            "grey": grey,
            "coverage": raps.mean,
            "low_share": raps.low_share,
            "anisotropy_db": raps.anisotropy_db,
            "peak_frequency": raps.peak_frequency(),
            "edge_lag_across": lag_x,
            "edge_lag_down": lag_y,
        })
    picture = sample_picture()
    ideal = measure.ideal_coverage(picture)
    # Some utilities write their page turned over; the sample is shown, and
    # compared, the way round that matches the source best.
    screened = screener.ink(picture)
    turned, sample = min(((name, turn(screened)) for name, turn in TURNS),
                         key=lambda c: measure.seen_error(c[1], ideal))
    seen = {name: measure.seen_error(sample[rows, cols], ideal[rows, cols])
            for name, rows, cols in SAMPLE_REGIONS}

    def mean_of(key):
        values = [t[key] for t in texture if math.isfinite(t[key])]
        return float(np.mean(values)) if values else math.nan

    numbers = {
        "id": s.id,
        "entry": s.entry,
        "family": s.family,
        "bits": s.bits,
        "setting": setting.description,
        "inverted": screener.inverted,
        "turned": turned,
        "full_code": screener.full,
        "max_deviation": tone.max_deviation,
        "deviation_grey": tone.deviation_grey,
        "mean_deviation": float(np.mean(np.abs(cover - tone.ideal))),
        "monotonic": tone.monotonic,
        "max_reversal": tone.max_reversal,
        "first_dot": tone.first_dot,
        "first_hole": tone.first_hole,
        "black": float(cover[0]),
        "white": float(cover[255]),
        "low_share": mean_of("low_share"),
        "anisotropy_db": mean_of("anisotropy_db"),
        "edge_lag": float(np.mean([abs(t["edge_lag_across"]) + abs(t["edge_lag_down"])
                                   for t in texture]) / 2),
        "type_error": seen["type"],
        "photo_error": seen["photo"],
        "texture": texture,
        "coverage": cover.tolist(),
    }
    return Result(setting, numbers, cover, spectra, sample)


def skipped(setting: Setting, why: str) -> Result:
    s = setting.screen
    numbers = {"id": s.id, "entry": s.entry, "family": s.family, "bits": s.bits,
               "setting": setting.description, "skipped": why}
    return Result(setting, numbers, note=why)


# ---- Numbers out ----


def _rounded(value, places=6):
    if isinstance(value, float):
        if not math.isfinite(value):
            return None
        return round(value, places) + 0.0
    if isinstance(value, dict):
        return {k: _rounded(v, places) for k, v in value.items()}
    if isinstance(value, (list, tuple)):
        return [_rounded(v, places) for v in value]
    if isinstance(value, (np.floating, np.integer, np.bool_)):
        return _rounded(value.item(), places)
    return value


def measurements_document(results, seed_time: int, patch: int, version: str) -> dict:
    return _rounded({
        "library_version": version,
        "seed_time": seed_time,
        "patch": patch,
        "texture_patch": TEXTURE_PATCH,
        "low_frequency_cut": measure.LOW_FREQUENCY_CUT,
        "white_noise_low_share": measure.white_noise_low_share(),
        "screens": [r.numbers for r in results],
    })


TABLE_COLUMNS = (
    # key, heading, format, tooltip
    ("id", "screen", "{}", "the screen's id (click for its plots)"),
    ("entry", "entry", "{}", "fixed entry point name"),
    ("family", "family", "{}", ""),
    ("bits", "bits", "{}", "output bits a pixel"),
    ("full_code", "full", "{}", "highest code the screen writes: a full dot"),
    ("max_deviation", "max dev %", "pct", "largest |coverage - ideal| over greys 0-255"),
    ("deviation_grey", "at grey", "{}", "where the largest deviation is"),
    ("mean_deviation", "mean dev %", "pct", "mean |coverage - ideal|"),
    ("max_reversal", "reversal %", "pct", "largest rise in coverage toward lighter greys"),
    ("first_dot", "first dot", "{}", "lightest grey that prints ink (254 ideal)"),
    ("first_hole", "first hole", "{}", "darkest grey that leaves paper (1 ideal)"),
    ("low_share", "low-freq %", "pct",
     "share of texture energy below the low-frequency cut, mean of four tones"),
    ("anisotropy_db", "anisotropy dB", "{:.1f}",
     "ring variance over a random pattern's, mean of four tones (0 = isotropic)"),
    ("edge_lag", "edge lag px", "{:.1f}", "ink missing at the start of a grey band, in pixels"),
    ("type_error", "type err %", "pct",
     "how far screened grey type and hairlines look from the original (blurred as by the eye)"),
    ("photo_error", "photo err %", "pct",
     "how far the screened ramp and shaded ball look from the original (blurred as by the eye)"),
    ("speed", "MP/s", "{:.0f}", "megapixels a second from the benchmark report"),
)


def _cell(value, fmt):
    if value is None or (isinstance(value, float) and not math.isfinite(value)):
        return "", "-"
    if isinstance(value, bool):
        return str(int(value)), "yes" if value else "no"
    if fmt == "pct":
        return f"{value:.6g}", f"{100 * value:.2f}"
    return (f"{value:.6g}" if isinstance(value, float) else str(value)), fmt.format(value)


def write_csv(path: str, results) -> None:
    keys = [c[0] for c in TABLE_COLUMNS] + ["monotonic", "inverted", "setting", "skipped"]
    with open(path, "w", newline="") as f:
        out = csv.writer(f, lineterminator="\n")
        out.writerow(keys)
        for r in results:
            row = []
            for k in keys:
                v = _rounded(r.numbers.get(k))
                row.append("" if v is None else v)
            out.writerow(row)


# ---- Plots and pictures ----


def _figure(width, height):
    from matplotlib.backends.backend_agg import FigureCanvasAgg
    from matplotlib.figure import Figure

    fig = Figure(figsize=(width, height), dpi=80)
    FigureCanvasAgg(fig)
    return fig


def _save(fig, path):
    fig.savefig(path, format="png", metadata={"Software": None})


def plot_tone(path: str, result: Result) -> None:
    cover = result.coverage
    greys = np.arange(256)
    fig = _figure(7.2, 2.7)
    left, right = fig.subplots(1, 2)
    left.plot(greys, measure.ideal_coverage(greys), "--", color="0.6", lw=1, label="ideal")
    left.plot(greys, cover, color="C0", lw=1.4, label="measured")
    left.set(xlim=(0, 255), ylim=(-0.02, 1.02), xlabel="input grey (0 black)", ylabel="coverage")
    left.legend(loc="upper right", fontsize=8, frameon=False)
    dev = cover - measure.ideal_coverage(greys)
    right.axhline(0, color="0.6", lw=1)
    right.plot(greys, 100 * dev, color="C3", lw=1.2)
    limit = max(2.0, 110 * float(np.max(np.abs(dev))))
    right.set(xlim=(0, 255), ylim=(-limit, limit), xlabel="input grey",
              ylabel="coverage - ideal (%)")
    for ax in (left, right):
        ax.tick_params(labelsize=8)
        ax.xaxis.label.set_size(9)
        ax.yaxis.label.set_size(9)
    fig.tight_layout(pad=0.4)
    _save(fig, path)


def plot_spectra(path: str, result: Result) -> None:
    fig = _figure(7.2, 3.0)
    left, right = fig.subplots(1, 2)
    for i, (share, grey, raps) in enumerate(result.spectra):
        label = f"{share:.3g} (grey {grey})"
        shown = np.maximum(raps.power, SPECTRUM_FLOOR)
        left.plot(raps.frequency, shown, color=f"C{i}", lw=1.1, label=label)
        right.plot(raps.frequency, raps.anisotropy, ".-", color=f"C{i}", lw=0.9, ms=2,
                   label=label)
    top = max([float(np.nanmax(s.power)) for _, _, s in result.spectra] + [2.0])
    left.set_yscale("log")
    left.axhline(1, color="0.6", lw=0.8, ls="--")
    left.axvline(measure.LOW_FREQUENCY_CUT, color="0.4", lw=0.8, ls=":")
    left.set(xlim=(0, 0.71), ylim=(SPECTRUM_FLOOR, top * 2), xlabel="frequency (cycles/pixel)",
             ylabel="power / random")
    right.axhline(0, color="0.6", lw=0.8, ls="--")
    right.set(xlim=(0, 0.71), xlabel="frequency (cycles/pixel)", ylabel="anisotropy (dB)")
    finite = [v for _, _, s in result.spectra for v in s.anisotropy if math.isfinite(v)]
    if finite:
        right.set_ylim(min(-5.0, min(finite) - 1), max(5.0, min(max(finite) + 1, 40.0)))
    for ax in (left, right):
        ax.tick_params(labelsize=8)
        ax.xaxis.label.set_size(9)
        ax.yaxis.label.set_size(9)
    handles, labels = left.get_legend_handles_labels()
    fig.legend(handles, labels, loc="upper center", ncol=len(labels), fontsize=8,
               frameon=False, title="coverage", title_fontsize=8)
    fig.tight_layout(pad=0.4, rect=(0, 0, 1, 0.86))
    _save(fig, path)


def _write_png(path: str, ink: np.ndarray, scale: int = 1) -> None:
    from PIL import Image

    grey = np.round(255 * (1.0 - np.clip(ink, 0, 1))).astype(np.uint8)
    if scale > 1:
        grey = np.repeat(np.repeat(grey, scale, axis=0), scale, axis=1)
    Image.fromarray(grey).save(path, format="PNG", optimize=False)


SAMPLE_CROPS = (
    # name, rows, columns, what it shows
    ("highlights", slice(8, 40), slice(8, 72), "ramp, greys 247-183"),
    ("midtones", slice(8, 40), slice(96, 160), "ramp, greys 159-95"),
    ("type", slice(50, 98), slice(130, 194), "type in greys 0, 128 and 200"),
)


def write_pictures(folder: str, result: Result) -> None:
    sid = result.setting.screen.id
    plot_tone(os.path.join(folder, f"{sid}-tone.png"), result)
    plot_spectra(os.path.join(folder, f"{sid}-spectra.png"), result)
    _write_png(os.path.join(folder, f"{sid}-sample.png"), result.sample)
    for name, rows, cols, _ in SAMPLE_CROPS:
        _write_png(os.path.join(folder, f"{sid}-{name}.png"), result.sample[rows, cols], ENLARGE)


# ---- The guide, written from the rankings ----


def _measured(results):
    return [r for r in results if "skipped" not in r.numbers]


def _names(rows, describe, count=3):
    parts = []
    for r in rows[:count]:
        n = r.numbers
        mark = "*" if r.setting.files else ""
        parts.append(f'<a href="#{html.escape(n["id"])}"><code>{html.escape(n["id"])}</code></a>'
                     f"{mark} ({describe(n)})")
    if not parts:
        return ""
    return parts[0] if len(parts) == 1 else ", ".join(parts[:-1]) + " and " + parts[-1]


def _pct(v):
    v *= 100
    return f"{v:.2g}%" if abs(v) < 10 else f"{v:.0f}%"


def _finite(n, *keys):
    return all(isinstance(n.get(k), (int, float)) and math.isfinite(n[k]) for k in keys)


def guide(results, have_speeds: bool) -> list[tuple[str, str]]:
    """(heading, HTML text) paragraphs ranking the screens for four jobs and
    naming the ones to watch; every statement comes from the numbers."""
    rows = _measured(results)
    one_bit = [r for r in rows if r.numbers["bits"] == 1]
    white = measure.white_noise_low_share()
    out = []

    def dev(n):
        return n["max_deviation"]

    # Photographs: smooth (little low-frequency energy), isotropic, faithful.
    faithful = [r for r in one_bit if r.numbers["monotonic"]
                and dev(r.numbers) <= PHOTO_MAX_DEVIATION
                and _finite(r.numbers, "low_share", "anisotropy_db")]
    smooth = sorted((r for r in faithful if r.numbers["anisotropy_db"] <= PHOTO_MAX_ANISOTROPY),
                    key=lambda r: (r.numbers["low_share"], r.numbers["id"]))
    gridded = sorted((r for r in faithful if r.numbers["anisotropy_db"] > PHOTO_MAX_ANISOTROPY),
                     key=lambda r: (-r.numbers["anisotropy_db"], r.numbers["id"]))
    if smooth:
        text = (f"Of the {len(faithful)} one-bit screens whose tone response is monotonic and "
                f"within {_pct(PHOTO_MAX_DEVIATION)} of the ideal, the smoothest texture: "
                + _names(smooth, lambda n: f"{_pct(n['low_share'])} of the texture energy "
                         f"below {measure.LOW_FREQUENCY_CUT} cycles/pixel, "
                         f"{n['anisotropy_db']:.1f} dB anisotropy")
                + f". White noise puts {_pct(white)} there; lower is smoother to the eye.")
        if len(smooth) > 3:
            worst = smooth[-1].numbers
            text += (f" The coarsest of the {len(smooth)} is "
                     f"<code>{html.escape(worst['id'])}</code> ({_pct(worst['low_share'])}).")
        if gridded:
            text += (f" Left out for a regular or streaky texture (anisotropy above "
                     f"{PHOTO_MAX_ANISOTROPY:.0f} dB): "
                     + _names(gridded, lambda n: f"{n['anisotropy_db']:.1f} dB", 4)
                     + (f" and {len(gridded) - 4} more" if len(gridded) > 4 else "") + ".")
    else:
        text = ("No one-bit screen has a monotonic tone response within "
                f"{_pct(PHOTO_MAX_DEVIATION)} and an isotropic texture.")
    out.append(("Photographs", text))

    # Text and line art: small grey type rendered faithfully; solid black, clean paper.
    clean = [r for r in one_bit if dev(r.numbers) <= TEXT_MAX_DEVIATION
             and r.numbers["black"] >= 0.99 and r.numbers["white"] <= 0.01
             and _finite(r.numbers, "type_error")]
    sharp = sorted(clean, key=lambda r: (r.numbers["type_error"], r.numbers["id"]))
    if sharp:
        text = ("Of the one-bit screens that print black solid (99% or more), leave white clean "
                f"and stay within {_pct(TEXT_MAX_DEVIATION)} of the ideal tone, the most faithful "
                "grey type and hairlines: "
                + _names(sharp, lambda n: f"{_pct(n['type_error'])} seen error on the type, "
                         f"edge lag {n['edge_lag']:.1f} px")
                + f". The least faithful is <code>{html.escape(sharp[-1].numbers['id'])}</code> "
                  f"({_pct(sharp[-1].numbers['type_error'])}).")
        lagging = sorted((r for r in clean if r.numbers["edge_lag"] >= 1),
                         key=lambda r: -r.numbers["edge_lag"])
        if lagging:
            text += (" Slow to reach a tone at an edge, so thin grey strokes thin out: "
                     + _names(lagging, lambda n: f"{n['edge_lag']:.1f} px", 3) + ".")
    else:
        text = "No one-bit screen prints black solid and white clean within the tone limit."
    out.append(("Text and line art", text))

    # Fast proofs: speed among acceptable screens.
    if have_speeds:
        timed = sorted((r for r in rows if r.numbers.get("speed") is not None
                        and dev(r.numbers) <= PROOF_MAX_DEVIATION),
                       key=lambda r: (-r.numbers["speed"], r.numbers["id"]))
        if timed:
            slowest = timed[-1].numbers
            text = (f"Fastest of the screens within {_pct(PROOF_MAX_DEVIATION)} of the ideal "
                    "tone: " + _names(timed, lambda n: f"{n['speed']:.0f} MP/s") +
                    f"; the slowest of them runs at {slowest['speed']:.0f} MP/s "
                    f"(<code>{html.escape(slowest['id'])}</code>).")
        else:
            text = "The benchmark report names none of the measured screens."
    else:
        text = ("No benchmark report was given: run <code>build/bench/halftone_bench "
                "--benchmark_format=json &gt; bench.json</code> and pass <code>--bench "
                "bench.json</code> to rank the screens by speed.")
    out.append(("Fast proofs", text))

    # Multi-level heads: per bit depth, by how close the sample looks to the original.
    parts = []
    for bits in (2, 4):
        group = sorted((r for r in rows if r.numbers["bits"] == bits
                        and _finite(r.numbers, "type_error", "photo_error")),
                       key=lambda r: (r.numbers["type_error"] + r.numbers["photo_error"],
                                      r.numbers["id"]))
        if group:
            parts.append(
                f"{bits}-bit heads ({len(group)} screen{'s' if len(group) > 1 else ''}), closest to the original as the eye "
                "sees it (ramp, shaded ball and type): "
                + _names(group, lambda n: f"seen error {_pct(n['photo_error'])} on the picture, "
                         f"{_pct(n['type_error'])} on the type; tone within "
                         f"{_pct(n['max_deviation'])}; full dot code {n['full_code']}", 2) + ".")
    out.append(("Multi-level heads", " ".join(parts) or "No multi-level screen was measured."))

    # Warnings that follow from the numbers.
    warn = []
    reversed_ = [r for r in rows if not r.numbers["monotonic"]]
    if reversed_:
        warn.append("Tone response not monotonic (a lighter grey prints more ink): "
                    + _names(sorted(reversed_, key=lambda r: -r.numbers["max_reversal"]),
                             lambda n: f"rise of {_pct(n['max_reversal'])}", 6) + ".")
    late = [r for r in rows if r.numbers["first_dot"] is None
            or r.numbers["first_dot"] < LATE_FIRST_DOT]
    if late:
        warn.append(f"Highlights lost (no ink until below grey {LATE_FIRST_DOT}): "
                    + _names(sorted(late, key=lambda r: r.numbers["first_dot"] or -1),
                             lambda n: f"first dot at {n['first_dot']}", 6) + ".")
    filled = [r for r in rows if r.numbers["first_hole"] is not None
              and r.numbers["first_hole"] > EARLY_FIRST_HOLE]
    if filled:
        warn.append(f"Shadows filled in (no paper until above grey {EARLY_FIRST_HOLE}): "
                    + _names(sorted(filled, key=lambda r: -r.numbers["first_hole"]),
                             lambda n: f"first hole at {n['first_hole']}", 6) + ".")
    off = sorted((r for r in rows if dev(r.numbers) > TEXT_MAX_DEVIATION),
                 key=lambda r: -dev(r.numbers))
    if off:
        warn.append(f"Tone far from the ideal (more than {_pct(TEXT_MAX_DEVIATION)}): "
                    + _names(off, lambda n: f"{_pct(n['max_deviation'])} at grey "
                             f"{n['deviation_grey']}", 6) + (
                        f" and {len(off) - 6} more" if len(off) > 6 else "") + ".")
    turned = [r for r in rows if r.numbers.get("turned")]
    if turned:
        warn.append("Page written turned over: " + _names(
            turned, lambda n: n["turned"], 6) + ".")
    if warn:
        out.append(("Watch out for", " ".join(warn)))
    if any(r.setting.files for r in rows):
        out.append(("Data files", "Screens marked * read data files; they were measured with the "
                         'clustered-dot files made for this report (<a href="data/">data/</a>), '
                         "and their numbers describe those files as much as the screen."))
    return out


# ---- The page ----

_STYLE = """
body { font-family: sans-serif; margin: 1.5em; max-width: 1400px; color: #222; }
h1 { margin-bottom: .2em; }
.meta { color: #555; }
.guide dt { font-weight: bold; margin-top: .6em; }
.guide dd { margin-left: 1.2em; }
table.numbers { border-collapse: collapse; font-size: 85%; }
table.numbers th, table.numbers td { border: 1px solid #ccc; padding: 2px 6px; }
table.numbers th { background: #eee; cursor: pointer; position: sticky; top: 0; }
table.numbers th.sorted-up::after { content: " \\25B2"; }
table.numbers th.sorted-down::after { content: " \\25BC"; }
table.numbers td:first-child { white-space: nowrap; }
table.numbers td.n { text-align: right; font-variant-numeric: tabular-nums; }
table.numbers tr.skipped td { color: #999; }
section.screen { border-top: 1px solid #ccc; margin-top: 1.2em; padding-top: .4em; }
section.screen h3 { font-family: monospace; font-size: 130%; margin: .2em 0; }
.pictures { display: flex; flex-wrap: wrap; gap: 10px; align-items: flex-start; }
.pictures figure { margin: 0; }
.pictures figcaption { font-size: 80%; color: #555; }
img.px { image-rendering: pixelated; border: 1px solid #ccc; }
table.tones { border-collapse: collapse; font-size: 85%; margin: .4em 0; }
table.tones td, table.tones th { padding: 1px 8px; text-align: right; }
"""

_SORT_SCRIPT = """
document.querySelectorAll('table.numbers th').forEach(function (th, col) {
  th.addEventListener('click', function () {
    var table = th.closest('table'), body = table.tBodies[0];
    var up = !th.classList.contains('sorted-up');
    table.querySelectorAll('th').forEach(function (h) {
      h.classList.remove('sorted-up', 'sorted-down'); });
    th.classList.add(up ? 'sorted-up' : 'sorted-down');
    var rows = Array.prototype.slice.call(body.rows);
    rows.sort(function (a, b) {
      var x = a.cells[col].getAttribute('data-v'), y = b.cells[col].getAttribute('data-v');
      if (x === '' || y === '') return (x === '') - (y === '');
      var nx = Number(x), ny = Number(y);
      var d = isFinite(nx) && isFinite(ny) ? nx - ny : x < y ? -1 : x > y ? 1 : 0;
      return up ? d : -d;
    });
    rows.forEach(function (r) { body.appendChild(r); });
  });
});
"""


def _table(results) -> str:
    head = "".join(f'<th title="{html.escape(tip)}">{html.escape(title)}</th>'
                   for _, title, _, tip in TABLE_COLUMNS)
    lines = [f'<table class="numbers"><thead><tr>{head}<th>note</th></tr></thead><tbody>']
    for r in results:
        n = r.numbers
        cells = []
        for key, _, fmt, _ in TABLE_COLUMNS:
            value = n.get(key)
            sort, shown = _cell(value, fmt)
            if key == "id":
                shown = f'<a href="#{html.escape(value)}">{html.escape(value)}</a>'
                cells.append(f'<td data-v="{html.escape(sort)}">{shown}</td>')
            elif isinstance(value, (int, float)) and not isinstance(value, bool):
                cells.append(f'<td class="n" data-v="{sort}">{shown}</td>')
            else:
                cells.append(f'<td data-v="{html.escape(sort)}">{html.escape(shown)}</td>')
        note = []
        if "skipped" in n:
            note.append("skipped: " + n["skipped"])
        else:
            if n.get("inverted"):
                note.append("set bit is paper")
            if n.get("turned"):
                note.append(f"page comes out {n['turned']}")
            if not n.get("monotonic"):
                note.append("not monotonic")
        cls = ' class="skipped"' if "skipped" in n else ""
        note_text = "; ".join(note)
        cells.append(f'<td data-v="{html.escape(note_text)}">{html.escape(note_text)}</td>')
        lines.append(f"<tr{cls}>" + "".join(cells) + "</tr>")
    lines.append("</tbody></table>")
    return "\n".join(lines)


def _screen_section(r: Result) -> str:
    n, s = r.numbers, r.setting.screen
    sid = html.escape(n["id"])
    parts = [f'<section class="screen" id="{sid}"><h3>{sid}</h3>',
             f"<p><code>{html.escape(s.entry)}</code> &middot; {html.escape(s.family)} &middot; "
             f"{s.bits} bit{'s' if s.bits > 1 else ''} &middot; {html.escape(s.summary)}<br>"
             f"measured with: {html.escape(r.setting.description)}</p>"]
    if "skipped" in n:
        parts.append(f"<p><b>Skipped:</b> {html.escape(n['skipped'])}</p></section>")
        return "\n".join(parts)
    facts = [f"largest tone deviation {_pct(n['max_deviation'])} at grey {n['deviation_grey']}",
             "monotonic" if n["monotonic"] else
             f"not monotonic (rise of {_pct(n['max_reversal'])})",
             f"first dot at grey {n['first_dot']}", f"first hole at grey {n['first_hole']}",
             f"black prints {_pct(n['black'])}, white {_pct(n['white'])}"]
    if n.get("inverted"):
        facts.append("set bit is paper (measured as such)")
    if n.get("turned"):
        facts.append(f"the page comes out {n['turned']} (the sample is shown turned back)")
    if s.bits > 1:
        facts.append(f"full dot is code {n['full_code']} of {s.top_code}")
    if n.get("speed") is not None:
        facts.append(f"{n['speed']:.0f} MP/s")
    parts.append("<p>" + "; ".join(facts) + ".</p>")
    rows = "".join(
        f"<tr><td>{t['share']:.4g}</td><td>{t['grey']}</td><td>{_pct(t['coverage'])}</td>"
        f"<td>{_pct(t['low_share'])}</td><td>{_fmt(t['anisotropy_db'], '{:.1f}')}</td>"
        f"<td>{t['peak_frequency']:.3f}</td><td>{t['edge_lag_across']:.1f}</td>"
        f"<td>{t['edge_lag_down']:.1f}</td></tr>" for t in n["texture"])
    parts.append(
        '<table class="tones"><tr><th>tone</th><th>grey</th><th>coverage</th>'
        "<th>low-freq</th><th>anisotropy dB</th><th>peak cycles/px</th>"
        f"<th>lag across px</th><th>lag down px</th></tr>{rows}</table>")
    pictures = [
        (f"{sid}-tone.png", "tone response: coverage against grey, and its deviation", ""),
        (f"{sid}-spectra.png", "radially averaged power spectra and anisotropy", ""),
        (f"{sid}-sample.png", "sample at 1:1", ' class="px"'),
    ]
    pictures += [(f"{sid}-{name}.png", f"{what}, {ENLARGE}&times;", ' class="px"')
                 for name, _, _, what in SAMPLE_CROPS]
    parts.append('<div class="pictures">' + "".join(
        f'<figure><img src="plots/{f}" alt="{sid} {cap}"{cls}><figcaption>{cap}</figcaption>'
        "</figure>" for f, cap, cls in pictures) + "</div></section>")
    return "\n".join(parts)


def _fmt(value, fmt):
    return "-" if value is None or not math.isfinite(value) else fmt.format(value)


def _method(seed_time: int, patch: int, bench: str | None) -> str:
    cut = measure.LOW_FREQUENCY_CUT
    return f"""<h2 id="method">How the numbers are measured</h2>
<ul>
<li><b>Tone response.</b> Every grey 0-255 is screened as its own flat {patch} &times; {patch}
page; coverage is the share of dots (for two- and four-bit screens the mean code over the
highest code the screen writes on any grey, its full dot). The ideal coverage of grey g is (255 - g) / 255. A screen that sets more bits on
white than on black prints paper with its set bits and is measured the other way round. The
response is called monotonic when no lighter grey prints more than
{_pct(measure.MONOTONIC_TOLERANCE)} more ink than the grey below it. The first dot is the
lightest grey below white that prints any ink, the first hole the darkest grey above black that
leaves any paper (0 when black itself is not solid).</li>
<li><b>Texture.</b> At coverages 1/16, 1/4, 1/2 and 3/4 a flat page of
{TEXTURE_PATCH + TEXTURE_MARGIN} pixels square is screened and its first {TEXTURE_MARGIN} rows
and columns dropped; the power spectrum is averaged over 128 &times; 128 tiles and over rings
one frequency step wide, and divided by the power of a random pattern of the same coverage (white
noise lies at 1). Anisotropy is the variance of the power around a ring over its squared mean,
in dB above a random pattern, weighted by the rings' power. The low-frequency share is the part
of the energy below {cut} cycles a pixel (white noise: {_pct(measure.white_noise_low_share())}).
</li>
<li><b>Edge lag.</b> A band of the same grey, {STEP_BAND} pixels wide between margins of paper
(of solid ink for 3/4 coverage), is screened across and down the page; the lag is the ink the
band misses against its steady coverage, in pixels of band width. 0 means the screen prints
the tone from the band's first pixel.</li>
<li><b>Speed</b> comes from {html.escape(bench) if bench else "a benchmark report, when given"}
(megapixels a second, all planes counted).</li>
<li>Every random screen is seeded from clock second {seed_time}, so the page is regenerated
identically. Multi-level screens get evenly spread levels, screens that read tone curves mode
{TONE_MODE}; screens that read data files get small clustered-dot files made here
(<a href="data/">data/</a>). Transposed and rotated outputs are turned back before measuring.
All numbers are in <a href="measurements.json">measurements.json</a> and
<a href="measurements.csv">measurements.csv</a>.</li>
</ul>"""


def write_page(path: str, results, seed_time: int, patch: int, version: str,
               bench: str | None, have_speeds: bool) -> None:
    measured = len(_measured(results))
    lines = [
        "<!DOCTYPE html>",
        '<html lang="en"><head><meta charset="utf-8"><title>halftone screen quality</title>',
        f"<style>{_STYLE}</style></head><body>",
        "<h1>Screen quality report</h1>",
        f'<p class="meta">halftone {html.escape(version)} &middot; {len(results)} screens, '
        f"{measured} measured &middot; seed time {seed_time} &middot; "
        f'<a href="#method">how the numbers are measured</a></p>',
        "<h2>Choosing a screen</h2>",
        '<dl class="guide">',
    ]
    for heading, text in guide(results, have_speeds):
        lines.append(f"<dt>{html.escape(heading)}</dt><dd>{text}</dd>")
    lines += ["</dl>", "<h2>All screens</h2>",
              "<p>Click a heading to sort; hover it for what the column means. Percentages are "
              "of full coverage.</p>", _table(results), "<h2>Screens one by one</h2>"]
    lines += [_screen_section(r) for r in results]
    lines += [_method(seed_time, patch, bench), f"<script>{_SORT_SCRIPT}</script>",
              "</body></html>", ""]
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(lines))


# ---- Running it ----


def _parse(argv):
    p = argparse.ArgumentParser(
        prog="python3 -m halftone.report",
        description="Measure every screen of the library and write an HTML quality report.")
    p.add_argument("--out", required=True, help="folder for index.html and its files")
    p.add_argument("--bench", help="Google Benchmark JSON report "
                   "(halftone_bench --benchmark_format=json) for the speed column")
    p.add_argument("--seed-time", type=int, default=DEFAULT_SEED_TIME,
                   help=f"clock second the random screens seed from (default {DEFAULT_SEED_TIME})")
    p.add_argument("--screens", help="comma-separated ids or entry names (default: every screen)")
    p.add_argument("--patch", type=int, default=DEFAULT_PATCH,
                   help=f"side of the flat tone patches (default {DEFAULT_PATCH})")
    p.add_argument("--quiet", action="store_true", help="no progress on stderr")
    return p.parse_args(argv)


def _load_speeds(path):
    try:
        with open(path, encoding="utf-8") as f:
            return measure.benchmark_speeds(f.read())
    except OSError as e:
        raise ReportError(f"cannot read the benchmark report {path}: {e.strerror}") from None
    except ValueError as e:
        raise ReportError(f"{path} is not a Google Benchmark JSON report: {e}") from None


def _choose(module, names):
    rows = module.screens()
    if not names:
        return list(rows)
    chosen = []
    for name in (n.strip() for n in names.split(",")):
        if not name:
            continue
        try:
            row = module.find_screen(name)
        except KeyError as e:
            raise ReportError(e.args[0] if e.args else str(e)) from None
        if row not in chosen:
            chosen.append(row)
    if not chosen:
        raise ReportError("--screens names no screen")
    return chosen


def _install(staging: str, out: str) -> None:
    """Moves the report built in ``staging`` into ``out``, replacing what a
    previous report left there and keeping anything else."""
    os.makedirs(out, exist_ok=True)
    for name in sorted(os.listdir(staging)):
        target = os.path.join(out, name)
        if os.path.isdir(target) and not os.path.islink(target):
            shutil.rmtree(target)
        elif os.path.lexists(target):
            os.remove(target)
        os.replace(os.path.join(staging, name), target)


def build(out: str, seed_time: int = DEFAULT_SEED_TIME, bench: str | None = None,
          screens: str | None = None, patch: int = DEFAULT_PATCH, progress=None,
          module=None) -> list[Result]:
    """Measures the screens and writes the report into ``out``; returns the results.

    Raises ReportError for bad arguments or input, before anything is written.
    """
    if module is None:
        import halftone as module
    missing = [name for name in ("matplotlib", "PIL") if importlib.util.find_spec(name) is None]
    if missing:
        raise ReportError(f"the report needs matplotlib and Pillow ({', '.join(missing)} not "
                          "found); on Debian: apt-get install python3-matplotlib python3-pil")
    if not 16 <= patch <= 1024:
        raise ReportError(f"--patch must be 16..1024, not {patch}")
    if not 0 <= seed_time <= 0xFFFFFFFF:
        raise ReportError(f"--seed-time must be 0..4294967295, not {seed_time}")
    if os.path.exists(out) and not os.path.isdir(out):
        raise ReportError(f"--out {out} exists and is not a folder")
    speeds = _load_speeds(bench) if bench else {}
    chosen = _choose(module, screens)
    parent = os.path.dirname(os.path.abspath(out))
    version = module.library_version() if hasattr(module, "library_version") else "?"

    try:
        os.makedirs(parent, exist_ok=True)
        staging = tempfile.mkdtemp(prefix=".report-", dir=parent)
    except OSError as e:
        raise ReportError(f"cannot write in {parent}: {e.strerror}") from None
    try:
        data = write_data_files(os.path.join(staging, "data"), chosen)
        plots = os.path.join(staging, "plots")
        os.makedirs(plots)
        results = []
        for i, row in enumerate(chosen):
            setting = setting_for(row, data)
            started = time.monotonic()
            try:
                result = measure_setting(module, setting, seed_time, patch)
            except (ValueError, RuntimeError) as e:
                result = skipped(setting, str(e))
            if "skipped" not in result.numbers:
                result.numbers["speed"] = measure.speed_of(speeds, row.id, row.entry)
                write_pictures(plots, result)
            results.append(result)
            if progress:
                progress(f"[{i + 1}/{len(chosen)}] {row.id}: "
                         f"{result.note or 'measured'} ({time.monotonic() - started:.1f} s)")
        document = measurements_document(results, seed_time, patch, version)
        with open(os.path.join(staging, "measurements.json"), "w", encoding="utf-8") as f:
            json.dump(document, f, indent=1, sort_keys=False)
            f.write("\n")
        write_csv(os.path.join(staging, "measurements.csv"), results)
        write_page(os.path.join(staging, "index.html"), results, seed_time, patch, version,
                   bench and os.path.basename(bench), bool(speeds))
        _install(staging, out)
    finally:
        shutil.rmtree(staging, ignore_errors=True)
    return results


def main(argv=None) -> int:
    args = _parse(argv)
    say = None if args.quiet else (lambda line: print(line, file=sys.stderr, flush=True))
    try:
        results = build(args.out, args.seed_time, args.bench, args.screens, args.patch, say)
    except ReportError as e:
        print(f"halftone.report: {e}", file=sys.stderr)
        return 2
    except OSError as e:
        print(f"halftone.report: {e}; nothing written", file=sys.stderr)
        return 1
    skipped_count = sum("skipped" in r.numbers for r in results)
    if not args.quiet:
        print(f"measured {len(results) - skipped_count} screen(s)"
              + (f", skipped {skipped_count}" if skipped_count else "")
              + f"; open {os.path.join(args.out, 'index.html')}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
