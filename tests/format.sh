#!/bin/sh
# Whether every source file is in the house format.
set -eu
git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror
