#!/usr/bin/env bash
# Installs the Debian packages a job needs when they are missing.
#   tools/deps.sh test    what `make test` builds against
#   tools/deps.sh bench   the peer libraries of the benchmarks
#   tools/deps.sh mingw   the MinGW-w64 cross compilers alone
#   tools/deps.sh cross   32-bit and Windows cross toolchains, Wine
# One package list per job; a family that needs more adds it here.
set -euo pipefail
job=${1:-test}
case "$job" in
  test)  pkgs="cmake ninja-build clang libomp-dev libgtest-dev liblapack-dev libmpfr-dev" ;;
  bench) pkgs="libbenchmark-dev libfftw3-dev libopenblas-dev libsleef-dev libgsl-dev liblapack-dev" ;;
  mingw) pkgs="g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix" ;;
  cross) pkgs="gcc-multilib g++-multilib g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix wine64 googletest qemu-user-static" ;;
  *) echo "deps.sh: unknown job $job" >&2; exit 2 ;;
esac
missing=""
for p in $pkgs; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
[ -z "$missing" ] && exit 0
echo "installing:$missing"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq $missing >/dev/null
