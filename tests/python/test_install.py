"""pip installs the package offline with the library inside, and the installed module,
run from a clean folder without HALFTONE_LIBRARY, screens as the source tree does."""
import os
import shutil
import subprocess
import sys

import numpy as np

import halftone
from conftest import ROOT, gradient

CHECK = """
import sys, numpy, halftone
page = numpy.load("page.npy")
numpy.save("codes.npy", halftone.screen(page, sys.argv[1], seed_time=9, band_height=6))
print(halftone.__file__)
print(halftone.library_path())
"""


def test_offline_install_carries_its_library(tmp_path):
    source, target, clean = tmp_path / "src", tmp_path / "site", tmp_path / "clean"
    shutil.copytree(os.path.join(ROOT, "python"), source,
                    ignore=shutil.ignore_patterns("build", "*.egg-info", "__pycache__",
                                                  "libhalftone*"))
    env = dict(os.environ, HALFTONE_LIBRARY=os.path.abspath(halftone.library_path()),
               PIP_DISABLE_PIP_VERSION_CHECK="1", PIP_ROOT_USER_ACTION="ignore")
    subprocess.run([sys.executable, "-m", "pip", "install", "-q", "--no-build-isolation",
                    "--no-index", "--no-deps", "--target", str(target), str(source)],
                   check=True, env=env, capture_output=True)

    screen = next(s for s in halftone.screens() if s.banding == "carried")
    page = gradient(20, 30, planes=2)
    clean.mkdir()
    np.save(clean / "page.npy", page)
    env.pop("HALFTONE_LIBRARY")
    env["PYTHONPATH"] = str(target)
    shown = subprocess.run([sys.executable, "-c", CHECK, screen.id], cwd=clean, env=env,
                           check=True, capture_output=True, text=True).stdout.split("\n")
    assert shown[0].startswith(str(target)) and shown[1].startswith(str(target / "halftone"))
    np.testing.assert_array_equal(
        np.load(clean / "codes.npy"),
        halftone.screen(page, screen.id, seed_time=9, band_height=6))
