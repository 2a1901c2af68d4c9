# Stages of ./run and ./test: one line each, the log kept, the end of it shown where a stage fails. On a terminal the line
# shows how far a stage has come.
mkdir -p build/log

# progress LOG: the last "12/345" that a build or ctest wrote to it, again and again, where the cursor is.
progress() {
  while sleep 1 && kill -0 $$ 2>/dev/null; do
    printf '%-12s\b\b\b\b\b\b\b\b\b\b\b\b' \
      "$(tail -n 20 "$1" | sed -n 's,^[[ ]*\([0-9]*/[0-9]*\)[] ].*,\1,p' | tail -n 1)"
  done
}

# stage NAME COMMAND...
stage() {
  name=$1
  shift
  printf '%-58s' "$name"
  log=build/log/$(printf %s "$name" | tr -c 'a-zA-Z0-9\n' _).log
  : >"$log"
  began=$(date +%s) shows=
  if [ -t 1 ]; then
    progress "$log" &
    shows=$!
  fi
  result=ok
  "$@" >"$log" 2>&1 || result=FAILED
  [ -z "$shows" ] || { kill "$shows"; wait "$shows" || true; } 2>/dev/null
  printf '%-12s\n' "$result  $(($(date +%s) - began)) s"
  [ "$result" = FAILED ] || return 0
  tail -n 40 "$log"
  echo "failed: $name; the whole log is $log" >&2
  exit 1
}

# configured PRESET: where the presets are newer; to build by ccache where that is installed.
configured() {
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  [ "build/$1/build.ninja" -nt CMakePresets.json ] || cmake --preset "$1"
}

# built PRESET [TARGETS...]
built() {
  preset=$1
  shift
  configured "$preset" && cmake --build "build/$preset" ${1:+--target "$@"}
}
