"""Builds the extension module tavrix._tavrix with the project's CMake."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        root = Path(__file__).resolve().parent
        build = Path(self.build_temp).resolve() / "cmake"
        subprocess.run(["cmake", "-S", str(root), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                        "-DTAVRIX_BUILD_PYTHON=ON", "-DTAVRIX_BUILD_TESTS=OFF",
                        "-DTAVRIX_BUILD_EXAMPLES=OFF", "-DTAVRIX_BUILD_TOOLS=OFF",
                        f"-DPython_EXECUTABLE={sys.executable}"], check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "tavrix_python", "-j",
                        str(os.cpu_count() or 1)], check=True)
        built = next((build / "python" / "tavrix").glob("_tavrix*"))
        target = Path(self.get_ext_fullpath(ext.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)


setup(ext_modules=[CMakeExtension("tavrix._tavrix")], cmdclass={"build_ext": CMakeBuild})
