#!/usr/bin/env bash
# interface.sh ZQTOOL SOURCE_DIR: manual page and completions know every command of zqtool and every option of each, and
# nothing else. What --help prints is the truth.
set -euo pipefail
zqtool=$1
cd "$2"
bad=0
complain() { echo "$1" && bad=1; }

# The names under a heading of a help text, one a line.
section() { sed -n "/^$1:/,/^\$/s/^  \(-h,--help\|[a-z-][a-z0-9,-]*\).*/\1/p"; }
commands_of() { "$zqtool" "$@" --help | section Subcommands; }
# The long options of a command, without --help.
options_of() { "$zqtool" $1 --help | section Options | grep -o -- '--[a-z][a-z0-9-]*' | grep -v '^--help$' | sort || true; }

leaves=()
for command in $(commands_of); do
  below=$(commands_of "$command" | sed "s/^/$command /")
  mapfile -t -O ${#leaves[@]} leaves < <(echo "${below:-$command}")
done
[ ${#leaves[@]} -ge 10 ] || complain "only ${#leaves[@]} commands in --help"

same() {  # WHAT EXPECTED FOUND: two lists, one name a line
  local difference
  difference=$(diff <(sort -u <<<"$2") <(sort -u <<<"$3")) || complain "$1 (<: --help, >: here): $difference"
}

# --- The manual page: a synopsis for each command, with its options.
page=docs/man/zqtool.1
synopsis=$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p' $page)
same "$page" "$(printf '%s\n' "${leaves[@]}")" "$(sed -n 's/^\.Cm //p' <<<"$synopsis")"
for leaf in "${leaves[@]}"; do
  of_leaf=$(awk -v leaf=".Cm $leaf" '/^\.(Nm|Sh)/ { on = 0 } $0 == leaf { on = 1 } on' <<<"$synopsis")
  same "$page, $leaf" "$(options_of "$leaf")" \
    "$(grep -oE -- '(Fl|\|) (o |-[a-z0-9-]+)' <<<"$of_leaf" | sed 's/^.* //; s/^$/-output/; s/^/-/')"
  for option in $(options_of "$leaf"); do
    grep -qE "^\.It .*Fl -${option#--}( |$)" $page || complain "$page doesn't describe $option"
  done
done

# --- bash: what completion offers.
bash -n share/completions/zqtool.bash
. share/completions/zqtool.bash
offered() {  # WORDS...: what stands for the last one, one a line, without --help
  COMP_WORDS=(zqtool "$@")
  COMP_CWORD=$#
  _zqtool
  printf '%s\n' "${COMPREPLY[@]}" | grep -v '^--help$' | sort || true
}
same "bash" "$(commands_of)" "$(offered '')"
for leaf in "${leaves[@]}"; do
  [ "${leaf% *}" = "$leaf" ] || same "bash, ${leaf% *}" "$(commands_of "${leaf% *}")" "$(offered "${leaf% *}" '')"
  same "bash, $leaf" "$(options_of "$leaf")" "$(offered $leaf --)"
done

# --- zsh: what its function describes.
zsh=share/completions/_zqtool
! command -v zsh >/dev/null || zsh -n $zsh
same "zsh" "$(printf '%s\n' $(commands_of) "${leaves[@]##* }")" "$(grep -oE "'[a-z]+:[^'>]*'" $zsh | grep -v '^.command:' | sed "s/^'//; s/:.*//")"
for leaf in "${leaves[@]}"; do
  block=$(awk -v leaf="$leaf" '
    /^    [^ ].*\)$/ { label = $0; gsub(/[ )'"'"']/, "", label); key = leaf; gsub(/ /, "", key)
      on = index("|" label "|", "|" key "|") > 0 }
    on' $zsh)
  found=$(grep -oE -- '--[a-z][a-z0-9-]+\[' <<<"$block" | tr -d '[' || true)
  case $block in *'$language'*) found+=$'\n--language' ;; esac
  case $block in *'$output'*) found+=$'\n--output' ;; esac
  same "zsh, $leaf" "$(options_of "$leaf")" "$(sed '/^$/d' <<<"$found")"
done

# --- The pages themselves, and the example of the configuration language.
for page in docs/man/*; do
  if command -v mandoc >/dev/null; then
    mandoc -Tlint -W warning "$page" || complain "$page has faults"
  elif command -v groff >/dev/null; then
    [ -z "$(groff -mandoc -ww -Tutf8 -z "$page" 2>&1 | tee /dev/stderr)" ] || complain "$page has faults"
  else
    echo "not checked: $page, there is neither mandoc nor groff"
  fi
done
sed -n '/^\.Sh EXAMPLES/,$p' docs/man/zqcore27-config.5 | sed -n '/^\.Bd/,/^\.Ed/p' |
  sed "/^\./d; s/\\\\(aq/'/g" | "$zqtool" config check --language en - || complain "the example is no configuration"
exit $bad
