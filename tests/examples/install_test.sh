#!/bin/sh
# install_test.sh BUILD SCRATCH SOURCE LIBDIR: installs into a scratch prefix, builds the example about streams against
# it twice, and runs both.
set -eu
build=$1 scratch=$2 source=$3 prefix=$2/prefix libdir=$2/prefix/$4
rm -rf "$scratch/user" "$scratch/built" "$prefix"
mkdir -p "$scratch/user"
cmake --install "$build" --prefix "$prefix" >/dev/null

cp "$source/examples/streams.c" "$scratch/user/example.c"
cat >"$scratch/user/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(user C)
find_package(arko 1 REQUIRED)
add_executable(example example.c)
target_link_libraries(example PRIVATE arko::zur)
END
cmake -S "$scratch/user" -B "$scratch/built" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/built" >/dev/null
"$scratch/built/example"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs arko)
# shellcheck disable=SC2086  # a word a flag
cc -std=c11 "$scratch/user/example.c" -o "$scratch/built/by_pkg_config" $flags -Wl,-rpath,"$libdir"
"$scratch/built/by_pkg_config"
