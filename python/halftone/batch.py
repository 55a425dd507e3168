"""Screening many page files on a dask.distributed cluster.

    from halftone.batch import screen_files
    written = screen_files(["a.png", "b.tif"], "tone-push", "out", seed_time=1000)
    written = screen_files(paths, "tone-push", "out", client="tcp://scheduler:8786")

Every page (a PNG, PGM or PBM file, or one page of a TIFF) is one task, run
in a worker process with ``halftone.screen``; the page files and the output
folder must be reachable from the workers under the same paths (a shared file
system on a real cluster). With the same options, and ``seed_time`` for the
random screens, each file is identical to the one ``screen_file`` writes in
the calling process.
"""
import inspect
import os

import numpy as np

from . import _screening
from ._packing import pack

FORMATS = ("png", "pnm", "raw", "npy")


class PageError(RuntimeError):
    """A page that could not be read, screened or written.

    ``path``: its file; ``page``: its number in the file (from 1); ``reason``: why.
    """

    def __init__(self, path, page, reason):
        super().__init__(path, page, reason)
        self.path, self.page, self.reason = path, page, reason

    def __str__(self):
        return f"{_page_name(self.path, self.page)}: {self.reason}"


class BatchError(RuntimeError):
    """Some pages of a batch failed. ``failures``: the ``PageError`` of each, in page order;
    ``written``: the files the other pages wrote."""

    def __init__(self, failures, written):
        super().__init__(failures, written)
        self.failures, self.written = failures, written

    def __str__(self):
        lines = [f"{len(self.failures)} page(s) failed:"]
        lines += [f"  {failure}" for failure in self.failures]
        return "\n".join(lines)


def _page_name(path, page):
    """How messages name a page: the file, and the page number past the first."""
    return f"{path} page {page}" if page > 1 else str(path)


def page_count(path):
    """How many pages the image file holds (TIFF files may hold several)."""
    from PIL import Image
    try:
        with Image.open(path) as image:
            return getattr(image, "n_frames", 1)
    except (OSError, ValueError) as error:
        raise PageError(os.fspath(path), 1, f"cannot read: {error}") from None


def read_page(path, page=1, planes=1):
    """Page ``page`` (1-based) of an image file as a uint8 array; ``planes`` > 1
    splits it top to bottom into that many planes of equal height."""
    from PIL import Image
    from ._images import grey_planes
    with Image.open(path) as image:
        image.seek(page - 1)
        grey, _ = grey_planes(image)
    grey = grey[0]
    if planes == 1:
        return grey
    if grey.shape[0] % planes:
        raise ValueError(f"{grey.shape[0]} rows do not split into {planes} planes")
    return grey.reshape(planes, grey.shape[0] // planes, grey.shape[1])


def write_codes(codes, screen, out_path, fmt):
    """Writes a screen's codes (H x W or P x H x W; planes stacked top to
    bottom in images); ``screen`` is its registry row.

    png and pnm: one-bit codes as a black-and-white image (1 black), two- and
    four-bit codes as grey (0 white, the screen's top code black); raw: the
    library's packed rows; npy: the codes array.
    """
    bits = screen.bits
    if fmt == "raw":
        with open(out_path, "wb") as out:
            out.write(pack(codes, bits).tobytes())
        return
    if fmt == "npy":
        with open(out_path, "wb") as out:
            np.save(out, codes)
        return
    from PIL import Image
    stacked = codes.reshape(-1, codes.shape[-1])
    grey = (255 - stacked.astype(np.uint16) * 255 // screen.top_code).astype(np.uint8)
    image = Image.fromarray(stacked == 0) if bits == 1 else Image.fromarray(grey, "L")
    image.save(out_path, format="PNG" if fmt == "png" else "PPM")


def _suffix(fmt, bits):
    """The file name suffix of an output format."""
    return {"png": ".png", "raw": ".raw", "npy": ".npy"}.get(fmt, ".pbm" if bits == 1 else ".pgm")


def output_paths(paths, counts, out_dir, fmt, bits):
    """The output file of every page: ``<stem><suffix>``, or ``<stem>-<page><suffix>`` for
    files of several pages. ValueError when two pages would write the same file."""
    names = {}
    for path, count in zip(paths, counts):
        stem = os.path.splitext(os.path.basename(os.fspath(path)))[0]
        for page in range(1, count + 1):
            name = (f"{stem}-{page}" if count > 1 else stem) + _suffix(fmt, bits)
            if name in names:
                raise ValueError(f"{_page_name(names[name][0], names[name][1])} and "
                                 f"{_page_name(path, page)} would both write {name}")
            names[name] = (path, page)
    return [(path, page, os.path.join(out_dir, name)) for name, (path, page) in names.items()]


def _screen_page(path, page, out_path, screen, fmt, planes, options):
    """One task: reads, screens and writes one page; any failure as a PageError."""
    try:
        codes = _screening.screen(read_page(path, page, planes), screen, **options)
        write_codes(codes, _screening.find_screen(screen), out_path, fmt)
    except Exception as error:  # reported to the caller as this page's failure
        if os.path.exists(out_path):
            os.remove(out_path)
        raise PageError(path, page, f"{type(error).__name__}: {error}") from None
    return out_path


def _count(path):
    """One task: the file's page count, or its PageError as a value."""
    try:
        return page_count(path)
    except PageError as error:
        return error


def _check(paths, screen, fmt, planes, options):
    """Checks a batch's arguments before any task; returns the paths and the screen's row."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        raise TypeError(f"paths must be a list of files, not the one file {paths!r}")
    info = _screening.find_screen(screen)  # KeyError with the closest names
    if fmt not in FORMATS:
        raise ValueError(f"format must be one of {', '.join(FORMATS)}, not {fmt!r}")
    _screening._whole_number("planes", planes, 1, 255)
    known = set(inspect.signature(_screening.screen).parameters) - {"image", "screen"}
    unknown = sorted(set(options) - known)
    if unknown:
        raise TypeError(f"unknown option(s) {', '.join(unknown)}; options are "
                        f"{', '.join(sorted(known))}")
    job_options = dict(options)
    _screening._whole_number("band_height", job_options.pop("band_height", 1), 1, 0xFFFFFFFF)
    with _screening.Job(info.id, 1, planes, **job_options):
        pass  # the values the job would refuse, refused here once for every page
    return [os.fspath(p) for p in paths], info


def screen_file(path, screen, out_dir, format="png", planes=1, **options):
    """Screens every page of one file in this process; returns the files written.

    The same as ``screen_files`` for one file, without a cluster: the
    reference the cluster's results equal. When pages fail the others are
    still written and a ``BatchError`` lists the failed ones.
    """
    (path,), info = _check([path], screen, format, planes, options)
    os.makedirs(out_dir, exist_ok=True)
    count = _count(path)
    if isinstance(count, PageError):
        raise BatchError([count], [])
    written, failures = [], []
    for path, page, out_path in output_paths([path], [count], out_dir, format, info.bits):
        try:
            written.append(_screen_page(path, page, out_path, info.id, format, planes, options))
        except PageError as error:
            failures.append(error)
    if failures:
        raise BatchError(failures, written)
    return written


def _connect(client):
    """The client to use and what this call opened (to close after)."""
    from distributed import Client, LocalCluster, get_client
    if client is None:
        try:
            return get_client(), []
        except ValueError:
            cluster = LocalCluster(processes=True, dashboard_address=None)
            client = Client(cluster)
            return client, [client, cluster]
    if isinstance(client, str):
        client = Client(client)
        return client, [client]
    return client, []


def screen_files(paths, screen, out_dir, client=None, format="png", planes=1, **options):
    """Screens page files on a dask.distributed cluster, one task a page.

    paths: PNG, PGM/PBM or TIFF files (every page of a TIFF is screened).
    screen: a screen's id or entry name. out_dir: created if need be.
    client: a ``distributed.Client``, a scheduler address ("tcp://host:8786"),
        or None: the current client, else a local cluster for this call.
    format: "png" (default), "pnm" (PBM for one-bit screens, PGM else), "raw"
        (the library's packed rows) or "npy" (the codes array).
    planes: a page file stacks that many planes top to bottom.
    options: keywords of ``halftone.screen`` (levels, seed_time, mode, ...).

    Returns the files written, in page order. When pages fail the others are
    still written and a ``BatchError`` lists every failed page with its reason.
    """
    paths, info = _check(paths, screen, format, planes, options)
    os.makedirs(out_dir, exist_ok=True)
    client, opened = _connect(client)
    try:
        counts = client.gather(client.map(_count, paths, pure=False))
        failures = [c for c in counts if isinstance(c, PageError)]
        readable = [(p, c) for p, c in zip(paths, counts) if not isinstance(c, PageError)]
        jobs = output_paths([p for p, _ in readable], [c for _, c in readable], out_dir,
                            format, info.bits)
        futures = [client.submit(_screen_page, path, page, out_path, info.id, format, planes,
                                 options, pure=False)
                   for path, page, out_path in jobs]
        written = []
        for (path, page, _), future in zip(jobs, futures):
            try:
                written.append(future.result())
            except Exception as error:  # a lost worker, say: still this page's failure
                failures.append(error if isinstance(error, PageError) else
                                PageError(path, page, f"{type(error).__name__}: {error}"))
    finally:
        for thing in opened:
            thing.close()
    if failures:
        order = {p: i for i, p in enumerate(paths)}
        failures.sort(key=lambda f: (order.get(f.path, 0), f.page))
        raise BatchError(failures, written)
    return written
