#!/usr/bin/env bash
# editors.sh SOURCE_DIR: both syntax files tell the columns of the samples apart as these say: a line of text, and under
# it a letter a column. N name, q quoted keyword, n number, b bool, o separator, | end of a statement, s string,
# e escape, c comment, & continuation, d what it drops, blank for everything else.
set -euo pipefail
cd "$1/tests/editors"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
skipped=

for sample in plain hash; do
  sed -n 'p;n' $sample.sample >"$work/$sample"
  sed -n 'n;p' $sample.sample | sed 's/ *$//' >"$work/$sample.expected"
done

if vim --version 2>/dev/null | grep -q '+syntax'; then
  cat >"$work/show.vim" <<'END'
set nocompatible encoding=utf-8
let s:letters = {'Name': 'N', 'Quoted': 'q', 'Number': 'n', 'Boolean': 'b', 'Separator': 'o', 'End': '|', 'String': 's',
  \ 'Escape': 'e', 'Comment': 'c', 'Continuation': '&', 'Dropped': 'd'}
syntax enable
setlocal filetype= syntax=zqcore27
let s:out = []
for s:line in range(1, line('$'))
  let s:shown = ''
  for s:column in range(1, len(getline(s:line)))
    let s:name = synIDattr(synID(s:line, s:column, 1), 'name')
    let s:shown .= get(s:letters, substitute(s:name, 'zqcore27', '', ''), ' ')
  endfor
  call add(s:out, substitute(s:shown, ' *$', '', ''))
endfor
call writefile(s:out, $SHOWN)
qall!
END
  for sample in plain hash; do
    SHOWN=$work/$sample.vim vim -u NONE -i NONE -es --cmd "set runtimepath^=$1/share/vim" -S "$work/show.vim" \
      "$work/$sample" >/dev/null || true
    diff "$work/$sample.expected" "$work/$sample.vim" || { echo "vim shows $sample.sample otherwise"; exit 1; }
  done
else
  skipped+=" vim"
fi

if command -v python3 >/dev/null; then
  for sample in plain hash; do
    python3 textmate.py "$1/share/textmate/zqcore27.tmLanguage.json" "$work/$sample" >"$work/$sample.textmate"
    diff "$work/$sample.expected" "$work/$sample.textmate" || { echo "TextMate shows $sample.sample otherwise"; exit 1; }
  done
else
  skipped+=" python3"
fi
[ -z "$skipped" ] || { echo "skipped in part, missing:$skipped"; exit 77; }
