#!/bin/sh
# Renews the suffixes of a daemon: fetched aside, checked, renamed, told by SIGHUP. When anything
# fails, the daemon's file is as it was, and the exit status is not 0: what cron sends a mail about.
#
# Usage: renew_suffixes.sh TABLE PID-FILE COMMAND...     COMMAND prints a Public Suffix List
set -eu
table=$1 pid_file=$2
shift 2

# In the folder of the table, since only within a file system a rename is one step.
work=$(mktemp -d "$table.XXXXXX")
trap 'rm -rf "$work"' EXIT

"$@" >"$work/list"
vu suffixes build --compiled "$work/list" -o "$work/table" 2>"$work/messages" || {
  cat "$work/messages" >&2
  exit 1
}
domain=$(vu classify --match public-suffix --suffixes "$work/table" --columns domain a.shop.co.uk)
[ "$domain" = shop.co.uk ]
if [ -e "$table" ]; then
  ! cmp -s "$table" "$work/table" || exit 0
  gone=$(vu suffixes diff "$table" "$work/table" | grep -c '^-' || true)
  if [ "$gone" -gt 500 ]; then
    echo "$gone rules are gone at once: look at the list first" >&2
    exit 1
  fi
fi

chmod 644 "$work/table"
mv "$work/table" "$table"
kill -HUP "$(cat "$pid_file")"
