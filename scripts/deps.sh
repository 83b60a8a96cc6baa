#!/usr/bin/env bash
# Installs the build and test dependencies that are missing (Debian packages).
set -euo pipefail
packages=(cmake g++ make pkgconf libgtest-dev libbenchmark-dev libpng-dev
  # camera raw files and 16-bit TIFF in the tool
  libraw-dev libtiff-dev
  # the Python binding and its tests
  python3-dev pybind11-dev python3-pybind11 python3-numpy python3-pytest python3-dask
  python3-distributed python3-pip python3-venv python3-setuptools python3-wheel
  # the aarch64 cross build and its emulated test run
  g++-aarch64-linux-gnu qemu-user)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi
