#!/bin/sh
# Compiles each public header alone. Usage: headers.sh COMPILER INCLUDE-DIR...
set -eu
compiler=$1
shift
includes=
for dir; do includes="$includes -I$dir"; done
for standard in c++17 c++20; do
  for dir; do
    for header in "$dir"/vu/*.h; do
      # shellcheck disable=SC2086
      "$compiler" -std=$standard $includes -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ \
        -include "$header" /dev/null
    done
  done
done
