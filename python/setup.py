"""Sets the tag of the wheel.

The tag always says Python 3. A wheel that contains the library is only for the platform that it was
built on: Linux on x86-64.
"""

from pathlib import Path

from setuptools import Distribution, setup
from wheel.bdist_wheel import bdist_wheel

HAS_LIBRARY = (Path(__file__).parent / "velmor_core" / "libvelmor-core.so.0").exists()


class Wheel(bdist_wheel):
    def get_tag(self):
        _, _, platform = super().get_tag()
        return "py3", "none", platform


class Package(Distribution):
    def has_ext_modules(self):
        return HAS_LIBRARY


setup(cmdclass={"bdist_wheel": Wheel}, distclass=Package)
