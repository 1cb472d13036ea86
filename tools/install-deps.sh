#!/bin/sh
# Installs the Debian packages that building, testing and running need,
# and only those that are missing (so a prepared machine needs no network).
set -e
PACKAGES="cmake make g++ pkg-config python3 libgl-dev libglu1-mesa-dev libegl-dev \
libegl-mesa0 libgl1-mesa-dri libglfw3-dev libstb-dev libcli11-dev libgtest-dev libbenchmark-dev \
clang libclang-rt-14-dev xvfb xauth"
missing=""
for p in $PACKAGES; do
  dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q "install ok installed" ||
    missing="$missing $p"
done
if [ -n "$missing" ]; then
  echo "installing:$missing"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq $missing
fi
