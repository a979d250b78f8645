#!/usr/bin/env bash
# Installs what a job needs on Debian or Ubuntu, by package name, and nothing when all of it is there.
#
#   scripts/install-packages.sh build|test|demo|bench
set -euo pipefail

build="ca-certificates cmake ninja-build g++ pkg-config libicu-dev libsqlite3-dev libcli11-dev nlohmann-json3-dev"
case "${1:-build}" in
    build) packages=$build ;;
    test) packages="$build clang libclang-rt-dev clang-format googletest g++-mingw-w64-x86-64 wine64 wine util-linux" ;;
    demo) packages="$build shared-mime-info" ;;
    bench) packages="$build libbenchmark-dev libpugixml-dev librapidxml-dev libexpat1-dev libsimpleini-dev libinih-dev libhivex-dev libspdlog-dev shared-mime-info" ;;
    *) echo "usage: $0 build|test|demo|bench" >&2; exit 2 ;;
esac
missing=()
for package in $packages; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
root=()
if [ "$(id -u)" -ne 0 ]; then
    root=(sudo)
fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${root[@]}" apt-get update -qq
"${root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
