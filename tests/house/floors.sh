#!/usr/bin/env bash
# floors.sh SOURCE_DIR: a file of the library includes only what stands on its own floor or below.
set -euo pipefail
cd "$1"

floor() {
  case "$1" in
    platform/*) echo 0 ;;
    core/memory.*|core/heap_chunk.h|core/global_new.*) echo 1 ;;
    strings/*|threads/jtc*) echo 2 ;;
    errors/*|threads/mutex.*|threads/condition.*|threads/flag.*|threads/read_write_lock.*|core/bitmap.*) echo 3 ;;
    threads/registry.*|blocks/*|floatfmt/*) echo 4 ;;
    core/core_hold.h) echo 3 ;;  # names the core alone
    core/*) echo 5 ;;
    files/*|threads/*) echo 6 ;;
    catalogue/*) echo 7 ;;
    config/*) echo 8 ;;
    zqcore27.h) echo 9 ;;
    *) echo "no floor for $1" >&2; return 1 ;;
  esac
}

# What stands above and may be included all the same: sources raise the errors of their subsystem, and the core object
# destroys the catalogues that it owns.
excepted() {
  case "$1 $2" in
    "core/memory.cpp errors/mem_error.h") ;;
    strings/*.cpp\ errors/string_error.h|strings/*.cpp\ errors/mem_error.h) ;;
    "core/core.cpp catalogue/ent_cstr_file.h") ;;
    *) return 1 ;;
  esac
}

bad=0
while IFS=: read -r file line; do
  file=${file#zqcore27/}
  included=${line#*\"zqcore27/}
  included=${included%\"*}
  of=$(floor "$file")
  above=$(floor "$included")
  if [ "$above" -gt "$of" ] && ! excepted "$file" "$included"; then
    echo "zqcore27/$file (floor $of) includes $included (floor $above)"
    bad=1
  fi
done < <(grep -rHE '^#include "zqcore27/' zqcore27 --include='*.h' --include='*.cpp')

system=$(grep -rnE '^#include <(sys/|unistd|fcntl|pthread|dirent|dlfcn|iconv|langinfo|locale\.h|errno\.h|linux/|semaphore|syslog)' zqcore27 \
  --include='*.h' --include='*.cpp' | grep -v '^zqcore27/platform/' || true)
if [ -n "$system" ]; then
  echo "system headers outside platform/:" "$system"
  bad=1
fi
exit $bad
