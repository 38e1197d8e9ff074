#!/bin/sh
# Installs a build, moves the installed tree, and builds a project that finds it there, with CMake
# and with pkg-config. Usage: install.sh BUILD-DIR CONSUMER-DIR WORK-DIR
set -eu
build=$1
consumer=$2
work=$3
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
cmake -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/moved" >/dev/null
cmake --build "$work/build" >/dev/null
"$work/build/consumer"
"$work/moved/bin/vu" classify --suffixes /dev/null 2>/dev/null && exit 1
"$work/moved/bin/vu" status 204

pc=$(find "$work/moved" -name vu.pc)
flags=$(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs vu)
# shellcheck disable=SC2086
c++ -std=c++17 "$consumer/consumer.cc" -o "$work/by-pkg-config" $flags
LD_LIBRARY_PATH=$(dirname "$(dirname "$pc")") "$work/by-pkg-config"
