#!/bin/sh
# needed.sh library...: fails when a library asks the loader for a C++ run time, or cannot be read.
for library in "$@"; do
  needed=$(readelf -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  echo "$library:" $needed
  case "$needed" in
    '' | *libstdc++* | *libc++*) exit 1 ;;
  esac
done
