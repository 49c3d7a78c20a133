"""Puts the shared library into the wheel if VIDEOPARAMS_BUNDLE is 1. pyproject.toml describes everything else.

The library is the file in VIDEOPARAMS_LIBRARY. Without it, CMake builds the library from the folder above this one.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:  # before setuptools 70
    from wheel.bdist_wheel import bdist_wheel

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
from videoparams._library import NAME  # noqa: E402


def build_library(folder):
    if not (HERE.parent / "CMakeLists.txt").exists():
        sys.exit("VIDEOPARAMS_BUNDLE=1: set VIDEOPARAMS_LIBRARY to the file of the library, or build from the whole project")
    build, prefix = folder / "build", folder / "prefix"
    parts = [f"-DVIDEOPARAMS_BUILD_{part}=OFF" for part in ("TESTS", "TOOL", "EXAMPLES")]
    subprocess.check_call(["cmake", "-S", HERE.parent, "-B", build, "-DCMAKE_BUILD_TYPE=Release", *parts])
    subprocess.check_call(["cmake", "--build", build, "--config", "Release", "--parallel"])
    subprocess.check_call(["cmake", "--install", build, "--component", "Runtime", "--prefix", prefix])
    return next(prefix.rglob(NAME))


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        target = pathlib.Path(self.build_lib, "videoparams", NAME)
        with tempfile.TemporaryDirectory() as folder:
            library = os.environ.get("VIDEOPARAMS_LIBRARY") or build_library(pathlib.Path(folder))
            shutil.copyfile(library, target)
        target.chmod(0o755)


class PlatformDistribution(Distribution):
    def has_ext_modules(self):
        return True


class PlatformWheel(bdist_wheel):
    def get_tag(self):
        return "py3", "none", super().get_tag()[2]  # ctypes works with every version of Python


if os.environ.get("VIDEOPARAMS_BUNDLE") == "1":
    setup(distclass=PlatformDistribution, cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": PlatformWheel})
else:
    setup()
