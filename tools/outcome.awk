# From ctest's LastTest.log: "passed failed skipped" on a line, then a line for each case that was skipped, with the reason.
# A program without cases of GoogleTest counts as one.

function finish() {
  if (!open) return
  if (!good && !bad) bad = 1
  if (good && ok + skips == 0) ok = 1
  passed += ok; failed += bad; skipped += skips
  open = 0
}

/^[0-9]+\/[0-9]+ Testing: / { finish(); open = 1; ok = bad = skips = good = 0 }
/^\[       OK \] .* ms\)$/ { ok++ }
/^\[  FAILED  \] .* ms\)$/ { bad++ }
/^\[  SKIPPED \] .* ms\)$/ { skips++; told = told "  skipped " $4 ": " reason "\n" }
/^Test Pass(ed\.| Reason:)$/ { good = 1 }
why { reason = $0; why = 0 }
/: Skipped$/ { why = 1 }
END { finish(); print passed + 0, failed + 0, skipped + 0; printf "%s", told }
