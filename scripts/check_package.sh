#!/usr/bin/env bash
# Builds the Debian package (`make package`: a release build, then CPack), lists what it holds
# and checks it with lintian, which fails the script on any error (warnings are printed).
# Usage: scripts/check_package.sh
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."

make --no-print-directory package
deb=$(ls -t build/release/skychart_*.deb | head -1)
echo "== $deb"
dpkg-deb --field "$deb" Package Version Architecture Depends Installed-Size
dpkg-deb --contents "$deb"
echo "== lintian"
lintian --fail-on error --display-info "$deb"
echo "lintian: no errors"
