# bash completion for velmor-core
_velmor_core() {
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]-} options=--help
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "tree map diff extract set add remove recycle check verify repair num
      uuid sha256 cpu version help --help --version" -- "$current")
    return
  fi
  case $command in
    tree) options+=" --json --any --path --depth --summary" ;;
    map) options+=" --json --any -o --force" ;;
    diff) options+=" --json --any --quiet" ;;
    extract) options+=" -o --force" ;;
    set | add | remove | recycle) options+=" --dry-run -o --force --in-place" ;;
    repair) options+=" -o --force --in-place --keep-trailing --drop-trailing" ;;
    uuid) ((COMP_CWORD == 2)) && options+=" new parse compare" ;;
  esac
  if [[ $current == -* || $command == uuid ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  elif [[ $command != num && $command != cpu && $command != version ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -F _velmor_core velmor-core
