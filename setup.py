"""Builds the module with CMake: the version and all that is compiled are said in CMakeLists.txt."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


def version():
    text = (ROOT / "CMakeLists.txt").read_text("utf-8")
    return re.search(r"project\(tervolanda VERSION (\d[\d.]*)", text)[1]


def found_by_python():
    """Where a pybind11 that pip installed is; Debian's is found by CMake itself."""
    try:
        import pybind11
    except ImportError:
        return []
    return [f"-Dpybind11_DIR={pybind11.get_cmake_dir()}"]


class BuildWithCMake(build_ext):
    def build_extension(self, extension):
        folder = pathlib.Path(self.build_temp).resolve() / "cmake"
        options = ["-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF", "-DTERVOLANDA_PYTHON=ON",
                   f"-DPython_EXECUTABLE={sys.executable}", *os.environ.get("CMAKE_ARGS", "").split()]
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(folder), *options, *found_by_python()],
                       check=True)
        subprocess.run(["cmake", "--build", str(folder), "--target", "tervolanda_python",
                        "--parallel", str(self.parallel or os.cpu_count())], check=True)
        target = pathlib.Path(self.get_ext_fullpath(extension.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        built = next((folder / "python" / "package" / "tervolanda").glob("_core.*so"))
        shutil.copyfile(built, target)


setup(
    version=version(),
    ext_modules=[Extension("tervolanda._core", sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
)
