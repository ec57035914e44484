#!/usr/bin/env bash
# Installs every package needed to build, test, benchmark and package Skychart and portico.
# Idempotent: packages already present are skipped, and apt is not touched at all when
# nothing is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  clang-format clang-tidy
  qt6-base-dev qt6-base-dev-tools libqt6svg6
  libqcustomplot-dev libqcustomplot2.1-qt6
  libspdlog-dev libfmt-dev nlohmann-json3-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth xdotool x11-apps imagemagick
  python3 python3-pandas
  tzdata dbus
  help2man librsvg2-bin desktop-file-utils appstream man-db
  dpkg-dev file lintian
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "deps: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
