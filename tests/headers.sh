#!/bin/sh
# Compiles each public header alone. Usage: headers.sh COMPILER INCLUDE-DIR INCLUDE-DIR
set -eu
compiler=$1
shift
for standard in c++17 c++20; do
  for dir; do
    for header in "$dir"/vu/*.h; do
      "$compiler" -std=$standard -I"$1" -I"$2" -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
        -x c++ -include "$header" /dev/null
    done
  done
done
