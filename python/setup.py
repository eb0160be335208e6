"""Makes a wheel with programs for one system, for every version of Python."""

import pathlib

import setuptools
from setuptools.command.bdist_wheel import bdist_wheel


class WithPrograms(setuptools.Distribution):
    def has_ext_modules(self) -> bool:
        return True


class AnyPython(bdist_wheel):
    def get_tag(self) -> tuple[str, str, str]:
        is_windows = pathlib.Path("orvane/bin/orvane.exe").exists()
        return "py3", "none", "win_amd64" if is_windows else "linux_x86_64"


setuptools.setup(distclass=WithPrograms, cmdclass={"bdist_wheel": AnyPython})
