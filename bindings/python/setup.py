"""Builds the compiled part with a libvu and libvu-url that are installed: `pip install .`, here."""
import shlex
import subprocess
from glob import glob

from setuptools import Extension, setup

try:
    import pybind11
    include_dirs = [pybind11.get_include()]
except ImportError:
    include_dirs = []  # Debian's pybind11-dev has its headers where compilers look


def pkg_config(*what):
    return subprocess.run(["pkg-config", *what], check=True, capture_output=True,
                          text=True).stdout.strip()


libraries = ["vu", "vu-url"]
compile_args = ["-std=c++17", "-fvisibility=hidden", *shlex.split(pkg_config("--cflags", *libraries))]
setup(version=pkg_config("--modversion", "vu"),
      ext_modules=[Extension("vu._vu", sorted(glob("src/*.cc")), include_dirs, language="c++",
                             extra_compile_args=compile_args,
                             extra_link_args=shlex.split(pkg_config("--libs", *libraries)))])
