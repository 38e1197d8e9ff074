#!/bin/sh
# Installs a build, moves the installed tree, and builds a project that finds it there, with CMake
# and with pkg-config, by the compiler in CXX. Usage: install.sh BUILD-DIR CONSUMER-DIR WORK-DIR
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
[ "$("$work/moved/bin/vu" status 204)" = "204	COUNTRY CODE - PURE DOMAIN" ]

pc=$(find "$work/moved" -name vu.pc)
library=$(dirname "$(dirname "$pc")")
static=
if [ -e "$library/libvu.a" ]; then static=--static; fi
flags=$(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config $static --cflags --libs vu)
# shellcheck disable=SC2086
$CXX -std=c++17 "$consumer/consumer.cc" -o "$work/by-pkg-config" $flags
LD_LIBRARY_PATH=$library "$work/by-pkg-config"
