#!/usr/bin/env bash
# exports.sh LIBRARY NAMES: every symbol that the library exports belongs to a class, function or global of the list, and
# its threads ask for no memory of their own at their first step, without which the process would end.
set -euo pipefail
names=$(grep -v '^#' "$2" | sed 's/^inline //' | paste -sd'|')
symbols=$(nm -D --defined-only --demangle "$1" | cut -d' ' -f3-)
[ "$(wc -l <<<"$symbols")" -gt 100 ]
if nm -D --undefined-only "$1" | grep __tls_get_addr; then exit 1; fi
stray=$(grep -vE "^((typeinfo|typeinfo name|vtable|VTT) for |non-virtual thunk to |virtual thunk to |construction vtable for |guard variable for )?zqcore27::(Thr1001203::)?($names)(\b|$)" \
  <<<"$symbols" | grep -vE '^ZQCORE27_2' || true)
if [ -n "$stray" ]; then
  echo "exported, but not on the list:"
  echo "$stray"
  exit 1
fi
bad=0
for name in $(grep -vE '^(#|inline )' "$2"); do
  grep -qE "zqcore27::(Thr1001203::)?$name\b" <<<"$symbols" || { echo "on the list, but not exported: $name"; bad=1; }
done
exit $bad
