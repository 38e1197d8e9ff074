#!/bin/sh
# Whether every source file is in the house format.
set -eu
files=$(git ls-files '*.cc' '*.h')
[ -n "$files" ]
echo "$files" | xargs clang-format --dry-run --Werror
