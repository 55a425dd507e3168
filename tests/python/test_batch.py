"""Batches of page files on a local cluster of two worker processes."""
import os

import numpy as np
import pytest
from PIL import Image

import halftone
from conftest import gradient
from halftone import batch

distributed = pytest.importorskip("distributed")


@pytest.fixture(scope="module")
def client():
    cluster = distributed.LocalCluster(n_workers=2, processes=True, threads_per_worker=1,
                                       host="127.0.0.1", dashboard_address=None)
    with distributed.Client(cluster) as client:
        yield client
    cluster.close()


@pytest.fixture(scope="module")
def pages(tmp_path_factory):
    folder = tmp_path_factory.mktemp("pages")
    png, pgm, tif = folder / "one.png", folder / "two.pgm", folder / "three.tif"
    Image.fromarray(gradient(40, 31, seed=1)).save(png)
    Image.fromarray(gradient(24, 50, seed=2)).save(pgm)
    frames = [Image.fromarray(gradient(33, 20, seed=s)) for s in (3, 4)]
    frames[0].save(tif, save_all=True, append_images=frames[1:])
    return [str(png), str(pgm), str(tif)]


def screen_of(family_bits):
    for s in halftone.screens():
        if s.banding == "carried" and s.bits == family_bits and \
                not {"pattern", "pattern2", "matrix", "blocks"} & set(s.needs):
            return s
    pytest.skip(f"no carried {family_bits}-bit screen")


@pytest.mark.parametrize("bits, fmt", [(1, "png"), (2, "raw"), (1, "pnm")])
def test_cluster_files_equal_one_by_one(client, pages, tmp_path, bits, fmt):
    screen = screen_of(bits)
    opts = {"seed_time": 11, "band_height": 8, "format": fmt}
    if screen.levels:
        opts["levels"] = list(range(0, 256, 255 // (screen.levels - 1)))[:screen.levels]
    written = batch.screen_files(pages, screen.entry, tmp_path / "cluster",
                                 client=client.scheduler.address, **opts)
    single = [out for path in pages for out in batch.screen_file(path, screen.id,
                                                                 tmp_path / "single", **opts)]
    assert [os.path.basename(w) for w in written] == [os.path.basename(s) for s in single]
    assert len(written) == 4 and written[-1].endswith("three-2" + os.path.splitext(written[-1])[1])
    contents = [open(w, "rb").read() for w in written]
    assert contents == [open(s, "rb").read() for s in single]
    assert contents[2] != contents[3]  # the two TIFF pages are screened apart


@pytest.mark.parametrize("bits", [1, 2, 4])
def test_written_images_show_the_codes(client, pages, tmp_path, bits):
    """One grey a code: code 0 white, the screen's top code black, darker as codes rise."""
    screen = screen_of(bits)
    opts = {"seed_time": 2, "levels": screen.default_levels} if screen.levels else {"seed_time": 2}
    (out,) = batch.screen_files(pages[:1], screen.id, tmp_path, client=client, **opts)
    codes = halftone.screen(np.asarray(Image.open(pages[0])), screen.id, **opts)
    grey = np.asarray(Image.open(out).convert("L"))
    shades = {int(c): np.unique(grey[codes == c]) for c in np.unique(codes)}
    assert all(len(s) == 1 for s in shades.values()), shades
    assert shades[0] == 255 and shades[screen.top_code] == 0
    assert all(shades[a] > shades[b] for a, b in zip(sorted(shades), sorted(shades)[1:]))


def test_failures_name_the_page(client, pages, tmp_path):
    broken, wide, mixed = tmp_path / "broken.png", tmp_path / "wide.png", tmp_path / "mixed.tif"
    broken.write_bytes(b"not an image")
    Image.fromarray(np.zeros((4, 4), np.uint16)).save(wide)  # refused: not 8 bits
    frames = [Image.fromarray(gradient(6, 5, seed=s)) for s in range(3)]
    frames[1] = frames[1].convert("RGB")  # refused: colour
    frames[0].save(mixed, save_all=True, append_images=frames[1:])
    screen = screen_of(1)
    with pytest.raises(batch.BatchError) as raised:
        batch.screen_files([pages[0], str(broken), str(wide), str(mixed)], screen.id,
                           tmp_path / "out", client=client, seed_time=1)
    failed = raised.value.failures
    assert [(f.path, f.page) for f in failed] == [(str(broken), 1), (str(wide), 1),
                                                  (str(mixed), 2)]
    assert "cannot read" in str(failed[0]) and "8 bits" in str(failed[1])
    assert f"{mixed} page 2: ValueError" in str(raised.value)
    assert str(broken) in str(raised.value) and str(wide) in str(raised.value)
    kept = ["one.png", "mixed-1.png", "mixed-3.png"]
    assert [os.path.basename(w) for w in raised.value.written] == kept
    assert sorted(os.listdir(tmp_path / "out")) == sorted(kept)

    # One by one, a failed page does not stop the file's later pages either.
    with pytest.raises(batch.BatchError) as alone:
        batch.screen_file(str(mixed), screen.id, tmp_path / "single", seed_time=1)
    assert [(f.path, f.page) for f in alone.value.failures] == [(str(mixed), 2)]
    assert [os.path.basename(w) for w in alone.value.written] == kept[1:]
    for name in kept[1:]:
        assert (tmp_path / "single" / name).read_bytes() == (tmp_path / "out" / name).read_bytes()
    with pytest.raises(batch.BatchError, match="cannot read"):
        batch.screen_file(str(broken), screen.id, tmp_path / "single")


@pytest.mark.parametrize("call, error", [
    (lambda p, out: batch.screen_files(p, "no-such-screen", out), KeyError),
    (lambda p, out: batch.screen_files(p + p, screen_of(1).id, out), ValueError),
    (lambda p, out: batch.screen_files(p, screen_of(1).id, out, levels=[0, 9]), ValueError),
    (lambda p, out: batch.screen_files(p[0], screen_of(1).id, out), TypeError),  # one path
])
def test_bad_batches_write_nothing(client, pages, tmp_path, call, error):
    with pytest.raises(error):
        call(pages, tmp_path / "out")
    assert not (tmp_path / "out").exists() or not os.listdir(tmp_path / "out")
