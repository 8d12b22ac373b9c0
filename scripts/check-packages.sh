#!/usr/bin/env bash
# Builds the Debian packages and runs lintian on them. Then unpacks them to a temporary folder and
# builds the README's programs with what they contain.
#   scripts/check-packages.sh [--install]   --install, as root: installs the packages instead of
#                                           unpacking them, and checks that purging removes every file
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
need_packages "the packages" "${packaging_packages[@]}"

released=$(sed -nE 's/^#define VELMOR_CORE_VERSION_(MAJOR|MINOR|PATCH) //p' \
  include/velmor_core/frame.h | paste -sd.)
[ "$(dpkg-parsechangelog -S Version)" = "$released" ] ||
  { echo "debian/changelog does not begin with the release of frame.h, $released" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source=$work/velmor-core
mkdir "$source"
git ls-files -z | tar --null -T - -c | tar -C "$source" -x
# Packages are built by Debian's Python, whichever comes first in PATH.
(cd "$source" && PATH=/usr/sbin:/usr/bin:/sbin:/bin DEB_BUILD_OPTIONS="nocheck parallel=2" \
  dpkg-buildpackage -us -uc) >"$work/log" 2>&1 ||
  { tail -n 40 "$work/log" >&2; exit 1; }
lintian --fail-on warning "$work"/*.changes
debs=("$work"/{libvelmor-core0,libvelmor-core-dev,python3-velmor-core,velmor-core-tools}_*.deb)

if [ "${1:-}" = --install ]; then
  list() { find /usr /etc /var/lib -name '*velmor[-_]core*' | sort; }
  list >"$work/before"
  apt-get install -q -y "${debs[@]}" >"$work/log"
  (cd "$source" && debian/tests/readme && PATH=/usr/bin:$PATH debian/tests/python)
  apt-get purge -q -y libvelmor-core0 libvelmor-core-dev python3-velmor-core velmor-core-tools \
    >"$work/log"
  list | diff "$work/before" -
else
  for deb in "${debs[@]}"; do dpkg-deb -x "$deb" "$work/root"; done
  lib=$(dirname "$work"/root/usr/lib/*/libvelmor-core.so)
  cd "$source"
  PATH=$work/root/usr/bin:$PATH LD_LIBRARY_PATH=$lib PKG_CONFIG_PATH=$lib/pkgconfig \
    CMAKE_PREFIX_PATH=$work/root/usr debian/tests/readme
  PATH=/usr/bin:$PATH LD_LIBRARY_PATH=$lib PYTHONDONTWRITEBYTECODE=1 \
    PYTHONPATH=$work/root/usr/lib/python3/dist-packages debian/tests/python
fi
echo "The packages passed all checks."
