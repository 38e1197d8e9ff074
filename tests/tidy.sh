#!/bin/sh
# Whether clang-tidy has nothing to say. Usage: tidy.sh BUILD-DIR
set -eu
files=$(git ls-files '*.cc' | grep -v '^tests/')
[ -n "$files" ]
echo "$files" | xargs -n 1 -P "$(nproc)" clang-tidy --quiet -p "$1"
