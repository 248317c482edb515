#!/usr/bin/env bash
# Installs the Debian packages that building and testing Tornel need; does nothing when they are there.
set -euo pipefail

packages=(
    cmake g++ make pkg-config
    libgtest-dev libgmock-dev libbenchmark-dev
    libjpeg62-turbo-dev libcfitsio-dev libpng-dev libtiff-dev
    python3 python3-astropy
    groff-base man-db bsdextrautils
    libsqlite3-dev
    indi-bin libexpat1-dev libcpp-httplib-dev nlohmann-json3-dev
    qt6-base-dev qt6-qpa-plugins fonts-dejavu-core
    dbus-daemon dbus-bin libglib2.0-bin python3-dbus python3-gi
    xvfb xauth imagemagick
    clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
