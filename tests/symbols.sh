#!/bin/sh
# Compares what the shared library exports with the reviewed list. A difference is printed with "<"
# before what is missing and ">" before what is new.
# Usage: symbols.sh LIBRARY LIST. To renew the list: symbols.sh LIBRARY /dev/null | sed -n 's/^> //p'
set -eu
# Copies of the standard library's templates are weak, and not ours to promise.
nm --dynamic --defined-only --demangle "$1" | sed 's/^[0-9a-f]* //' |
  grep -vE '^[WVu] (void )?std::' | cut -c 3- | LC_ALL=C sort -u | diff "$2" -
