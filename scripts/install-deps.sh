#!/usr/bin/env bash
# Installs the Debian packages the project needs, only those that are missing.
# Usage: scripts/install-deps.sh [extra-package ...]
set -euo pipefail

packages=(
  # toolchain
  g++ make cmake pkg-config
  # the library's own dependency
  libtiff-dev libopengl-dev libgl-dev
  # tests: GoogleTest, and independent tools that make and check TIFF files
  libgtest-dev libtiff-tools imagemagick
  # an offscreen OpenGL context for the drawing tests (EGL on Mesa's software renderer)
  libegl-dev libegl-mesa0 libgl1-mesa-dri
  # fuzzing the TIFF loader (clang's libFuzzer runtime)
  clang libclang-rt-14-dev
)
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  if [[ "$status" != *"install ok installed"* ]]; then
    missing+=("$package")
  fi
done

if ((${#missing[@]} == 0)); then
  exit 0
fi

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null 2>&1; then
    sudo_cmd=(sudo)
  else
    echo "error: need root (or sudo) to install: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
