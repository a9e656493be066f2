# The distribution's version is the library's, read from the one place it is set.
import os
import re

from setuptools import setup

HEADER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "API", "version.h")

with open(HEADER, encoding="ascii") as header:
    VERSION = re.search(r'#define FLOWER_VERSION_STRING "([^"]+)"', header.read()).group(1)

setup(version=VERSION)
