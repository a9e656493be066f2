#!/usr/bin/env bash
# The Python package installs with pip, offline, into a virtual environment
# that sees Debian's NumPy and wheel (python3-wheel: the setuptools inside a
# venv cannot build a wheel without it), and runs there over an installed
# library.
set -euo pipefail
source=$1 library=$2 work=$3
rm -rf "$work" && mkdir -p "$work/tree/API"
# A copy, so that pip's in-tree build leaves the sources alone.
cp -r "$source/python" "$work/tree/" && cp "$source/API/version.h" "$work/tree/API/"
rm -rf "$work/tree/python/build" "$work/tree/python/"*.egg-info
/usr/bin/python3 -m venv --system-site-packages "$work/venv"
"$work/venv/bin/python" -m pip install --quiet --no-build-isolation --no-index "$work/tree/python"
header_version=$(sed -n 's/^#define FLOWER_VERSION_STRING "\(.*\)"/\1/p' "$source/API/version.h")
cd "$work"
FLOWER_LIBRARY=$library "$work/venv/bin/python" - "$header_version" <<'PY'
import sys
from importlib import metadata

import flower

assert flower.__file__.startswith(sys.prefix), flower.__file__
assert flower.__version__ == sys.argv[1] == metadata.version("flower"), flower.__version__
with flower.Layer(4, 4) as layer:
    layer.fill(flower.pel(255, 0, 0))
    assert layer.array[0, 0].tolist() == [0, 0, 255, 255]
PY
echo "pip installs the package offline into a virtual environment"
