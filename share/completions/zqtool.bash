# bash completion for zqtool.

_zqtool() {
  local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands='config explain catalogue scramble unscramble float tree version'
  local command=${COMP_WORDS[1]} place=2
  COMPREPLY=()

  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help" -- "$cur")
    return
  fi
  case $command in
    config | catalogue)
      if [ "$COMP_CWORD" -eq 2 ]; then
        local subcommands='check tokens'
        [ "$command" = catalogue ] && subcommands='compile dump check'
        mapfile -t COMPREPLY < <(compgen -W "$subcommands --help" -- "$cur")
        return
      fi
      command="$command ${COMP_WORDS[2]}"
      place=3
      ;;
  esac

  case $previous in
    --language)
      mapfile -t COMPREPLY < <(compgen -W 'de en fr ja' -- "$cur")
      return
      ;;
    --separators | --key) return ;;
    -o | --output | --english)
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
      return
      ;;
  esac

  local options
  case $command in
    'config check' | 'config tokens') options='--separators --utf8 --key --honour-marker --language' ;;
    explain) options='--language --list' ;;
    'catalogue compile') options='--output --english' ;;
    'catalogue dump') options='--output --english --language' ;;
    'catalogue check' | version) options= ;;
    scramble | unscramble) options='--output' ;;
    float) options='--from --to' ;;
    tree) options='--dot' ;;
    *) return ;;
  esac
  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$cur")
  elif [ "$command" = float ]; then
    case $((COMP_CWORD - place)) in
      0) mapfile -t COMPREPLY < <(compgen -W '1 2 3 4 5 6 7 8 9 10 11' -- "$cur") ;;
      1) mapfile -t COMPREPLY < <(compgen -W '4 8' -- "$cur") ;;
    esac
  elif [ "$command" != explain ] && [ "$command" != version ]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  fi
}

complete -o filenames -F _zqtool zqtool
