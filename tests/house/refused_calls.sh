#!/usr/bin/env bash
# refused_calls.sh SOURCE_DIR COMPILER: a call whose format doesn't fit its arguments doesn't compile, and the compiler
# shows the line that says why; its neighbour that fits does compile.
set -euo pipefail
compile() {  # STATEMENT
  "$compiler" -std=c++20 -I "$sources" -fsyntax-only -x c++ - 2>&1 <<END
#include "zqcore27/catalogue/checked_cstr.h"
void call(CStr& words, String& text, const char* known_later, int number, double real, char (&word)[8]) {
  $1;
  (void)words, (void)text, (void)known_later, (void)number, (void)real, (void)word;
}
END
}
sources=$1 compiler=$2 count=0
refused() {  # STATEMENT SAID
  local said
  if said=$(compile "$1"); then echo "compiles: $1"; exit 1; fi
  grep -q "$2" <<<"$said" || { echo "$1: not '$2', but:"; echo "$said"; exit 1; }
  count=$((count + 1))
}
taken() { compile "$1" || { echo "doesn't compile: $1"; exit 1; }; }

taken 'buildChecked(text, "%d %g %s", number, real, text)'
refused 'buildChecked(text, "%d %d", number)' 'throw "the format takes more arguments'
refused 'buildChecked(text, "%d", number, number)' 'throw "the format takes fewer arguments'
refused 'buildChecked(text, "%d", real)' 'throw "an argument isn.t of the kind and size'
refused 'buildChecked(text, "%y", number)' 'throw "the format has a directive that doesn.t exist'
refused 'buildChecked(text, known_later, number)' 'known_later'
taken 'buildChecked(text, RuntimeFormat(known_later), number)'
taken 'scanChecked(text, "%d %lf %7s", number, real, word)'
refused 'scanChecked(text, "%f", real)' 'throw "an argument isn.t of the kind and size'
refused 'scanChecked(text, "%s", word)' 'throw "a text is scanned without a width'
taken 'buildChecked(words, text, 1, u"a", text, nullptr)'
refused 'buildChecked(words, text, 1, number)' 'no matching function'
refused 'buildChecked(words, text, 1, u"", u"", u"", u"", u"", u"", u"", u"", u"")' 'first eight values'
[ "$count" -eq 9 ]
