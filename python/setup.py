"""Builds the compiled part by CMake, with the library beside it: pip install --no-build-isolation ./python

The environment variable KX_BUILD names a build tree that is there already.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist

HERE = Path(__file__).resolve().parent
CARRIED = HERE / "source"  # in a source distribution: the source tree, as far as it takes part
SOURCE = CARRIED if CARRIED.exists() else HERE.parent
PARTS = ["CMakeLists.txt", "CHANGELOG.md", "LICENSE", "cmake", "include", "runtime", "commands", "kinematics", "streaming",
         "service", *(f"python/{part}" for part in ("CMakeLists.txt", "pyproject.toml", "setup.py", "kx", "src"))]
NEEDED = "It takes g++, cmake, ninja, cJSON, and pybind11 and the headers of Python; on Debian:\n" \
         "  apt install g++ cmake ninja-build libcjson-dev pybind11-dev python3-dev"


def run(*command: object) -> None:
    try:
        subprocess.run(command, check=True)
    except FileNotFoundError:
        sys.exit(f"There is no {command[0]} to build the compiled part of kx with. {NEEDED}")
    except subprocess.CalledProcessError:
        sys.exit(f"The compiled part of kx could not be built, see above. {NEEDED}")


class Build(build_ext):
    def build_extension(self, extension: Extension) -> None:
        tree = Path(os.environ.get("KX_BUILD") or Path(self.build_temp).resolve())
        if "KX_BUILD" not in os.environ:
            parts = [f"-DKX_{part}=OFF" for part in ("SIMULATOR", "TOOLS", "EXAMPLES", "TESTS")]
            run("cmake", "-S", SOURCE, "-B", tree, "-G", "Ninja", "-DKX_PYTHON=ON", f"-DPython3_EXECUTABLE={sys.executable}",
                f"-DCMAKE_BUILD_TYPE={os.environ.get('CMAKE_BUILD_TYPE', 'Release')}", *parts)
        run("cmake", "--build", tree, "--target", "_kx")
        to = Path(self.get_ext_fullpath(extension.name))
        to.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(tree / "python/kx" / to.name, to)
        shutil.copy(tree / "cmake/library/libKX_Service.so.1", to.parent)


class Distribute(sdist):
    def make_release_tree(self, base_dir: str, files: list[str]) -> None:
        super().make_release_tree(base_dir, files)
        for part in PARTS:
            to = Path(base_dir) / CARRIED.name / part
            to.parent.mkdir(parents=True, exist_ok=True)
            if (SOURCE / part).is_dir():
                shutil.copytree(SOURCE / part, to, ignore=shutil.ignore_patterns("__pycache__", "*.so*"))
            else:
                shutil.copy(SOURCE / part, to)


with tempfile.TemporaryDirectory() as work:  # the source tree stays as it is
    setup(version=re.search(r"project\(KX_Service VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1],
          ext_modules=[Extension("kx._kx", [])], cmdclass={"build_ext": Build, "sdist": Distribute},
          options={"build": {"build_base": work}, "egg_info": {"egg_base": work}})
