"""Builds the halftone Python package and copies the shared library into it.

The library copied is, first found: the file named by the environment
variable HALFTONE_LIBRARY; the build tree's ../build/libhalftone.so; the
libdir pkg-config gives for "halftone". With none of them the package is
built without a copy and finds the library at run time through
HALFTONE_LIBRARY or the system loader.
"""
import glob
import os
import shutil
import subprocess
import sys

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

HERE = os.path.dirname(os.path.abspath(__file__))


def _pkg_config_library():
    try:
        libdir = subprocess.run(["pkg-config", "--variable=libdir", "halftone"], check=True,
                                capture_output=True, text=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return None
    found = sorted(glob.glob(os.path.join(libdir, "libhalftone.so*")))
    return found[0] if found else None


def library_to_copy():
    """The shared library to put into the package, or None."""
    env = os.environ.get("HALFTONE_LIBRARY")
    if env:
        if not os.path.isfile(env):
            sys.exit(f"HALFTONE_LIBRARY={env} is not a file")
        return env
    built = os.path.join(HERE, "..", "build", "libhalftone.so")
    if os.path.isfile(built):
        return built
    return _pkg_config_library()


class BuildWithLibrary(build_py):
    """build_py that also copies the shared library beside the modules."""

    def run(self):
        super().run()
        library = library_to_copy()
        if library is None:
            print("halftone: no shared library to copy (set HALFTONE_LIBRARY); the module "
                  "will look for it at run time", file=sys.stderr)
            return
        real = os.path.realpath(library)
        target = os.path.join(self.build_lib, "halftone", os.path.basename(real))
        for stale in glob.glob(os.path.join(self.build_lib, "halftone", "libhalftone*")):
            os.remove(stale)
        shutil.copyfile(real, target)
        print(f"halftone: copied {real} into the package", file=sys.stderr)


class BinaryDistribution(Distribution):
    """The package carries a platform library, so its wheel is platform-specific."""

    def has_ext_modules(self):
        return True


setup(cmdclass={"build_py": BuildWithLibrary}, distclass=BinaryDistribution)
