"""Builds the tarvguitar Python package.

The extension `tarvguitar._core` is built by the project's own CMake build (TARV_PYTHON=ON,
nothing else), so `pip install --no-build-isolation ./python` needs only CMake, a C++20
compiler and the project's Debian build dependencies. The library's resources (shape caches,
sample settings) are installed inside the package.

Environment:
  TARV_PREBUILT_DIR   a CMake build folder configured with TARV_PYTHON=ON and already built:
                      its extension is copied instead of compiling the library again.
  TARV_CMAKE_ARGS     further arguments for the CMake configuration (split at blanks).
  TARV_BUILD_JOBS     parallel build jobs (default: the number of processors).
"""

import glob
import os
import re
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.build_py import build_py

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
RESOURCES = ("shapecaches", "settings", "LICENSE.ChordPro.txt")


def project_version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    match = re.search(r"project\(\s*TARVGuitar\s+VERSION\s+([0-9.]+)", text)
    if not match:
        raise RuntimeError(f"no project version in {ROOT / 'CMakeLists.txt'}")
    return match.group(1)


def built_extension(build_dir):
    """The extension of the CMake build folder `build_dir`, for this interpreter."""
    suffix = sysconfig.get_config_var("EXT_SUFFIX")
    candidates = [
        Path(build_dir) / "python" / "tarvguitar" / f"_core{suffix}",
        Path(build_dir) / "tarvguitar" / f"_core{suffix}",
    ]
    for candidate in candidates:
        if candidate.is_file():
            return candidate
    found = glob.glob(str(Path(build_dir) / "python" / "tarvguitar" / "_core*"))
    hint = f" (it has {', '.join(found)}, built for another interpreter)" if found else ""
    raise RuntimeError(
        f"TARV_PREBUILT_DIR={build_dir}: no extension _core{suffix} in "
        f"{candidates[0].parent}{hint}; configure it with -DTARV_PYTHON=ON "
        f"-DPython_EXECUTABLE={sys.executable} and build it first"
    )


class CMakeBuildExt(build_ext):
    """Builds `_core` with CMake, or copies it from TARV_PREBUILT_DIR."""

    def build_extension(self, ext):
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        prebuilt = os.environ.get("TARV_PREBUILT_DIR")
        if prebuilt:
            source = built_extension(prebuilt)
        else:
            source = self.cmake_build()
        shutil.copyfile(source, target)

    def cmake_build(self):
        build_dir = Path(self.build_temp).resolve() / "cmake"
        build_dir.mkdir(parents=True, exist_ok=True)
        configure = [
            "cmake",
            "-S",
            str(ROOT),
            "-B",
            str(build_dir),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DTARV_PYTHON=ON",
            "-DTARV_BUILD_TESTS=OFF",
            "-DTARV_BUILD_TOOLS=OFF",
            "-DTARV_BUILD_BENCHMARKS=OFF",
            f"-DPython_EXECUTABLE={sys.executable}",
        ]
        if shutil.which("ninja"):
            configure += ["-G", "Ninja"]
        if shutil.which("ccache"):
            configure += ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        configure += os.environ.get("TARV_CMAKE_ARGS", "").split()
        jobs = os.environ.get("TARV_BUILD_JOBS", str(os.cpu_count() or 1))
        subprocess.run(configure, check=True)
        subprocess.run(
            ["cmake", "--build", str(build_dir), "--target", "tarv_python_core",
             "--parallel", jobs],
            check=True,
        )
        return built_extension(build_dir)


class BuildPyWithResources(build_py):
    """Copies the library's resources into the package as tarvguitar/resources."""

    def run(self):
        super().run()
        destination = Path(self.build_lib) / "tarvguitar" / "resources"
        for name in RESOURCES:
            source = ROOT / "resources" / name
            if source.is_dir():
                shutil.copytree(source, destination / name, dirs_exist_ok=True)
            elif source.is_file():
                destination.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, destination / name)


setup(
    name="tarvguitar",
    version=project_version(),
    description="Chord diagrams for fretted instruments: chord symbols to playable shapes",
    long_description=(HERE / "README.md").read_text(encoding="utf-8"),
    long_description_content_type="text/markdown",
    python_requires=">=3.9",
    packages=["tarvguitar"],
    package_data={"tarvguitar": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("tarvguitar._core", sources=[])],
    cmdclass={"build_ext": CMakeBuildExt, "build_py": BuildPyWithResources},
    zip_safe=False,
)
