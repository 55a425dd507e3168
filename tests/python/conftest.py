"""Runs the tests on the package in python/ (or, with HALFTONE_TEST_INSTALLED=1, on
the installed one) and on the library in build/ unless HALFTONE_LIBRARY names one."""
import os
import sys

import pytest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
if not os.environ.get("HALFTONE_TEST_INSTALLED"):
    sys.path.insert(0, os.path.join(ROOT, "python"))
    os.environ.setdefault("HALFTONE_LIBRARY", os.path.join(ROOT, "build", "libhalftone.so"))


@pytest.fixture(scope="session")
def tool():
    """The command-line program, from HALFTONE_TOOL or build/tools/halftone."""
    path = os.environ.get("HALFTONE_TOOL") or os.path.join(ROOT, "build", "tools", "halftone")
    if not os.access(path, os.X_OK):
        pytest.skip(f"no command-line program at {path}")
    return path


def gradient(height, width, planes=None, seed=0):
    """A page with ramps and noise: every grey occurs, rows differ."""
    import numpy as np
    rng = np.random.default_rng(seed)
    shape = (height, width) if planes is None else (planes, height, width)
    ramp = np.linspace(0, 255, width)[np.newaxis, :] + np.linspace(0, 40, height)[:, np.newaxis]
    return ((ramp + rng.integers(-30, 30, shape)) % 256).astype(np.uint8)
