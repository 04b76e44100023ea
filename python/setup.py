"""Builds the compiled part by CMake, with the library beside it: pip install --no-build-isolation ./python

The environment variable KX_BUILD names a build tree that is there already.
"""
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = Path(__file__).resolve().parent.parent


class Build(build_ext):
    def build_extension(self, extension: Extension) -> None:
        tree = Path(os.environ.get("KX_BUILD") or Path(self.build_temp).resolve())
        if "KX_BUILD" not in os.environ:
            parts = [f"-DKX_{part}=OFF" for part in ("SIMULATOR", "TOOLS", "EXAMPLES", "TESTS")]
            subprocess.run(["cmake", "-S", SOURCE, "-B", tree, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                            "-DKX_PYTHON=ON", f"-DPython3_EXECUTABLE={sys.executable}", *parts], check=True)
        subprocess.run(["cmake", "--build", tree, "--target", "_kx"], check=True)
        to = Path(self.get_ext_fullpath(extension.name))
        to.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(tree / "python/kx" / to.name, to)
        shutil.copy(tree / "cmake/library/libKX_Service.so.1", to.parent)


setup(version=re.search(r"project\(KX_Service VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1],
      ext_modules=[Extension("kx._kx", [])], cmdclass={"build_ext": Build})
