# Stages of ./run and ./test: one line each, the log kept, the end of it shown where a stage fails.
mkdir -p build/log

# stage NAME COMMAND...
stage() {
  name=$1
  shift
  printf '%-58s' "$name"
  log=build/log/$(printf %s "$name" | tr -c 'a-zA-Z0-9\n' _).log
  began=$(date +%s)
  if "$@" >"$log" 2>&1; then
    echo "ok  $(($(date +%s) - began)) s"
  else
    echo FAILED
    tail -n 40 "$log"
    echo "failed: $name; the whole log is $log" >&2
    exit 1
  fi
}

# built PRESET [TARGETS...]: configures, where the presets are newer, and builds; by ccache where that is installed.
built() {
  preset=$1
  shift
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  [ "build/$preset/build.ninja" -nt CMakePresets.json ] || cmake --preset "$preset" || return
  cmake --build "build/$preset" ${1:+--target "$@"}
}
