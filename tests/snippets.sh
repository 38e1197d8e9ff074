#!/bin/sh
# Whether each code block that a page quotes under a comment with a file's name stands in that file.
# Usage: snippets.sh PAGE...     run from the top folder
set -eu
for page; do
  awk -v page="$page" '
    function check(   content, line) {
      while ((getline line <file) > 0) content = content line "\n"
      close(file)
      if (block == "" || index(content, block) == 0) {
        print page ": the block under " file " does not stand there"
        bad = 1
      }
      file = ""
    }
    inside && /^```/ { inside = 0; check(); next }
    inside { block = block $0 "\n"; next }
    /^<!-- .* -->$/ { file = $2; next }
    file != "" && /^```/ { inside = 1; block = ""; found++; next }
    END {
      if (!found) { print page ": no quoted block found"; bad = 1 }
      exit bad
    }' "$page"
done
