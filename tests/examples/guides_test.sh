#!/bin/sh
# guides_test.sh SOURCE: each example stands in its guide page as it is.
set -eu
cd "$1"
for example in examples/*.c; do
  guide=docs/guide/$(basename "$example" .c).md
  sed -n '/^```c$/,/^```$/p' "$guide" | sed '1d;$d' | diff - "$example" ||
    { echo "$guide does not show $example" >&2; exit 1; }
done
