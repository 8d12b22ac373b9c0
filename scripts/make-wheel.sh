#!/usr/bin/env bash
# Makes a wheel of the Python module with the library in it, without the network.
#   scripts/make-wheel.sh [LIBRARY [FOLDER]]   build/user/libvelmor-core.so.0 and . by default
set -euo pipefail
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
library=${1:-$source/build/user/libvelmor-core.so.0} folder=${2:-.}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/velmor_core"
cp "$source"/python/{pyproject.toml,setup.py} "$work"
cp "$source"/python/velmor_core/{*.py,py.typed} "$work/velmor_core"
cp -L "$library" "$work/velmor_core/libvelmor-core.so.0"
# Uses Debian's Python: the package python3-setuptools installs setuptools only for that one.
/usr/bin/python3 -m pip wheel -q --no-index --no-deps --no-build-isolation -w "$folder" "$work"
