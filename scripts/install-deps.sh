#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-3.0-or-later
# Installs the Debian packages the build, the app and the tests need; does nothing when all are present.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  qtbase5-dev qttools5-dev qttools5-dev-tools libqt5svg5-dev
  libqwt-qt5-dev libfftw3-dev
  librsvg2-bin imagemagick
  xvfb xauth
  dpkg-dev file desktop-file-utils lintian
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
