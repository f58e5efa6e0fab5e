#!/usr/bin/env bash
# gdb.sh BUILD_DIR HOST: gdb finds the printers of an installed library by itself, and shows each class as it should.
set -euo pipefail
command -v gdb >/dev/null || { echo "skipped: there is no gdb"; exit 77; }
gdb -nx -batch -ex 'python import gdb.printing' >/dev/null 2>&1 || { echo "skipped: gdb has no Python"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work" >/dev/null
library=$(find "$work" -name 'libzqcore27.so.*.*' ! -name '*-gdb.py')

# One line each: the expression, a tab, what gdb prints of it, with its line breaks and blanks made one blank.
cat >"$work/expected" <<'END'
empty	u""
text	u"grüß €"
withZero	u"a\000b"
native	"grüß €"
wide	u"grüß €"
nowhere	u""
error	(anonymous namespace)::OwnError 0xC2000109 = { insert 1 = u"grüß €", insert 2 = text 0xC2000104, insert 3 = ErrorContainer 0xC2000101, fatal }
inner	MemError 0xC2000101, fatal = { words = u"Could not obtain text from Error code." }
seen	(anonymous namespace)::OwnError 0xC2000109 = { insert 1 = u"grüß €", insert 2 = text 0xC2000104, insert 3 = ErrorContainer 0xC2000101, fatal }
bits	100 bits, set: 0 31-33 99
noBits	0 bits, set: none
locator	u"/srv/a.b.txt"
store	SupaBlock of 3 blocks in 1 superblocks = {"abcdefgh", empty, "wxyz"}
noTree	SBTree of 0 nodes, root 0
tree	SBTree of 5 nodes, root 4 = {0-1 3}
END

commands=()
while IFS=$'\t' read -r expression _; do
  commands+=(-ex "printf \"@%s\\t\", \"$expression\"" -ex "output $expression" -ex 'printf "\n"')
done <"$work/expected"
# debuginfod and the user's own settings stay out; the host runs on the installed library.
LC_ALL=C.UTF-8 LD_LIBRARY_PATH=$(dirname "$library") gdb -nx -batch \
  -iex "set debuginfod enabled off" -iex "set auto-load safe-path $work" \
  -iex "set auto-load scripts-directory $work/share/gdb/auto-load" \
  -ex "set print pretty on" -ex "set print object on" -ex "break stop" -ex run -ex up "${commands[@]}" \
  "$2" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
! grep -q 'ptrace: Operation not permitted' "$work/log" || { echo "skipped: gdb may not trace here"; exit 77; }
tr '\n' ' ' <"$work/log" | sed 's/@/\n/g; s/$/\n/' | sed '1d; s/  */ /g; s/ $//' >"$work/printed"
diff "$work/expected" "$work/printed"
