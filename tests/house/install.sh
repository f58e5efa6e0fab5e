#!/usr/bin/env bash
# install.sh BUILD_DIR CONSUMER_DIR COMPILER: a host outside the tree finds an installed copy, by find_package and by
# pkg-config, and prints the words of an error in two languages.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/installed" >/dev/null
cmake -S "$2" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/installed" -DCMAKE_CXX_COMPILER="$3" >/dev/null
cmake --build "$work/build" >/dev/null
tavio_language=$(dirname "$(find "$work/installed" -name 'strings_200_.cst')")
export tavio_language
english=$("$work/build/consumer" en)
german=$("$work/build/consumer" de)
[ -n "$english" ] && [ -n "$german" ] && [ "$english" != "$german" ]
case "$english$german" in *"Error in obtaining"*) echo "no words: $english"; exit 1 ;; esac

export PKG_CONFIG_PATH=$(dirname "$(find "$work/installed" -name zqcore27.pc)")
libdir=$(pkg-config --variable=libdir zqcore27)
"$3" -std=c++20 "$2/consumer.cpp" -o "$work/by_pkg_config" $(pkg-config --cflags --libs zqcore27) -Wl,-rpath,"$libdir"
[ "$("$work/by_pkg_config" en)" = "$english" ]
