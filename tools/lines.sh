#!/bin/sh
# Lines that are not blank, of tests and of code: what is written by hand; benches, data and generated lists left out.
set -eu
cd "$(dirname "$0")/.."
lines() {
  git ls-files -z -- "$@" | grep -zE '\.(c|h|cc|cpp|hpp|def|py|sh)$|^(run|test)$' |
    xargs -0 -r cat | grep -c . || true
}
tests=$(lines tests) code=$(lines . ':!tests' ':!bench')
echo "lines of tests $tests, of code $code: $((100 * tests / code)) %"
