#!/bin/sh
# guides_test.sh SOURCE: each guide page shows its example as it is.
set -eu
cd "$1"
for guide in docs/guide/*.md; do
  example=examples/$(basename "$guide" .md).c
  sed -n '/^```c$/,/^```$/p' "$guide" | sed '1d;$d' | diff - "$example" ||
    { echo "$guide does not show $example" >&2; exit 1; }
done
