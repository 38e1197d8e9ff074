"""Builds the compiled part with a libvu and libvu-url that are installed: `pip install .`, here."""
import shlex
import subprocess
from glob import glob

from pybind11.setup_helpers import Pybind11Extension
from setuptools import setup


def pkg_config(*what):
    return subprocess.run(["pkg-config", *what], check=True, capture_output=True,
                          text=True).stdout.strip()


libraries = ["vu", "vu-url"]
setup(version=pkg_config("--modversion", "vu"),
      ext_modules=[Pybind11Extension("vu._vu", sorted(glob("src/*.cc")), cxx_std=17,
                                     extra_compile_args=shlex.split(pkg_config("--cflags", *libraries)),
                                     extra_link_args=shlex.split(pkg_config("--libs", *libraries)))])
