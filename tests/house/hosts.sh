#!/usr/bin/env bash
# hosts.sh PREFIX CONSUMER_DIR COMPILER WORK_DIR: a host outside the tree finds the copy that is installed under PREFIX,
# by find_package and by pkg-config, and prints the words of an error in two languages. CXXFLAGS are the compiler's.
set -euo pipefail
cmake -S "$2" -B "$4" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_CXX_COMPILER="$3" >/dev/null
cmake --build "$4" >/dev/null
english=$("$4/consumer" en)
german=$("$4/consumer" de)
[ -n "$english" ] && [ -n "$german" ] && [ "$english" != "$german" ]
case "$english$german" in *"Error in obtaining"*) echo "no words: $english"; exit 1 ;; esac

PKG_CONFIG_PATH=$(dirname "$(find "$1" -name zqcore27.pc)")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir zqcore27)
"$3" ${CXXFLAGS:-} -std=c++20 -DZQCORE27_CATALOGUE_DIR="\"$(pkg-config --variable=cataloguedir zqcore27)\"" "$2/consumer.cpp" \
  -o "$4/by_pkg_config" $(pkg-config --cflags --libs zqcore27) -Wl,-rpath,"$libdir"
[ "$("$4/by_pkg_config" en)" = "$english" ]
