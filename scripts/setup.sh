#!/usr/bin/env bash
# Installs the Debian packages that building, testing and benchmarking Plexa
# need, and only those that are missing: when everything is present it only
# queries dpkg and returns.  Runs apt-get directly as root, through sudo
# otherwise.
set -euo pipefail

packages=(
  cmake g++ make pkg-config ccache binutils
  liblapack-dev libgtest-dev libgmock-dev libbenchmark-dev
  libnanoflann-dev
  libopenmpi-dev openmpi-bin libmetis-dev  # the MPI companion zebplexa_mpi (left out without them)
  python3-meshio python3-vtk9  # independent readers for the interoperability tests
  python3-gmsh  # files written by gmsh (MEDIT, NASTRAN), read by the library's readers
  freefem++ libfreefem++  # a reader of MEDIT solution files (meshio and gmsh have none)
  admesh python3-stl  # independent STL reader and writer for the interoperability tests
  pybind11-dev python3-dev python3-numpy python3-pytest  # the Python module and its tests
  locales  # locale sources, to test output under a decimal-comma locale
  clang libclang-rt-dev  # the fuzz targets (libFuzzer and the sanitizers of clang)
)

if ! command -v dpkg-query >/dev/null 2>&1; then
  echo "setup: not a Debian-based system; install the equivalents of: ${packages[*]}" >&2
  exit 0
fi

missing=()
for p in "${packages[@]}"; do
  if [[ $(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null) != installed ]]; then
    missing+=("$p")
  fi
done
((${#missing[@]} == 0)) && exit 0

if [[ $(id -u) -eq 0 ]]; then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "setup: root rights (or sudo) are needed to install: ${missing[*]}" >&2
  exit 1
fi

echo "setup: installing ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
