# Sourced: makes sure that Debian packages are installed.

# need_packages PURPOSE PACKAGE... installs missing packages, or says which to install and fails.
need_packages() {
  local purpose=$1 missing=() package
  shift
  for package; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || { [ ! -t 0 ] && ! sudo -n true 2>/dev/null; }; then
      echo "$purpose needs packages that only an administrator can install. Please run" >&2
      echo "  apt-get install ${missing[*]}" >&2
      echo "as root, then start this again." >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing for $purpose: ${missing[*]}" >&2
  "${as_root[@]}" apt-get update -q >/dev/null &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -q -y --no-install-recommends "${missing[@]}" >/dev/null || {
    echo "Could not install ${missing[*]}." >&2
    return 1
  }
}

# libfl-dev has flex's header, FlexLexer.h. flex only recommends it.
build_packages=(g++ cmake ninja-build flex libfl-dev bison libboost-dev)
test_packages=("${build_packages[@]}" libgtest-dev pkg-config)
# Other programs that read RIFF files. The tests check with them that edited files are valid.
# Without them these tests are skipped.
judge_packages=(ffmpeg sox webp mediainfo libimage-exiftool-perl sndfile-programs python3-jsonschema)
# For the Python module. Without pytest its tests are skipped.
python_packages=(python3-pytest mypy)
packaging_packages=(build-essential debhelper dh-python doxygen dpkg-dev fakeroot lintian
  "${build_packages[@]}" pkgconf pybuild-plugin-pyproject python3-all python3-setuptools
  python3-wheel)
