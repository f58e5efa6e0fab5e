#!/usr/bin/env bash
# guide.sh PAGE PROGRAM ZQTOOL: goes through the blocks of a page in one directory, in their order: writes those with a
# file name, runs C++ (compiled into PROGRAM) and shell, and holds what they print to the text block behind them.
set -euo pipefail
page=$(realpath "$1") program=$(realpath "$2")
PATH=$(dirname "$(realpath "$3")"):$PATH
unset tavio_language
export LC_ALL=C.UTF-8
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/here" && cd "$work/here"

printed=$work/printed block=$work/block
: >"$printed"
number=0 ran=0 compared=0 kind= line=0 start=0
fail() { echo "$page:$start: $*" >&2; exit 1; }
settle() { [ ! -s "$printed" ] || fail "prints what the page doesn't show: $(cat "$printed")"; }

while IFS= read -r text; do
  line=$((line + 1))
  if [ -n "$kind" ] && [ "$text" = '```' ]; then
    case $kind in
      cpp)
        settle
        number=$((number + 1)) ran=$((ran + 1))
        "$program" $number >"$printed" 2>&1 || fail "block $number fails: $(cat "$printed")"
        ;;
      sh)
        settle
        ran=$((ran + 1))
        bash -euo pipefail "$block" >"$printed" 2>&1 </dev/null || fail "fails: $(cat "$printed")"
        ;;
      text)
        diff "$block" "$printed" || fail "prints otherwise"
        compared=$((compared + 1))
        : >"$printed"
        ;;
      *' '*) cp "$block" "${kind#* }" ;;
      *) fail "a block of an unknown kind: $kind" ;;
    esac
    kind=
  elif [ -z "$kind" ] && [[ $text == '```'* ]]; then
    kind=${text#'```'} start=$line
    : >"$block"
  elif [ -n "$kind" ]; then
    printf '%s\n' "$text" >>"$block"
  fi
done <"$page"
settle
echo "$ran blocks ran, $compared printed what the page shows"
[ "$compared" -ge 1 ]
