#!/usr/bin/env bash
# allocator_bindings.sh HOST: the host's own operator new stays the host's, and the library doesn't bind to it.
set -euo pipefail
log=$(LD_DEBUG=bindings "$1" 2>&1 >/dev/null)
grep -q 'libzqcore27' <<<"$log"
if grep -E 'binding file [^ ]*libzqcore27[^ ]* .*(_Zn[wa]m|_Zd[la]Pv)' <<<"$log"; then
  echo "the library binds to an operator new or delete outside itself"
  exit 1
fi
if grep -E 'to [^ ]*libzqcore27[^ ]* .*symbol .(_Zn[wa]m|_Zd[la]Pv)' <<<"$log"; then
  echo "the library's operator new serves somebody else"
  exit 1
fi
