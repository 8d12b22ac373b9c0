# bash completion for velmor-core. The program itself says what may follow.

# Bash splits words also at the characters : and =, which chunk paths and options contain. Sets
# `words` to the words up to the cursor as they were typed.
_velmor_core_words() {
  local line=$COMP_LINE i
  words=()
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    if ((i > 0)) && [[ $line != [[:space:]]* && -n $line ]]; then
      words[-1]+=${COMP_WORDS[i]}
    else
      words+=("${COMP_WORDS[i]}")
    fi
    line=${line#"${line%%[![:space:]]*}"}
    line=${line#"${COMP_WORDS[i]}"}
  done
}

# Prints a word without its quotes.
_velmor_core_unquoted() {
  local word=$1
  case $word in
    \"* | \'*) word=${word:1} word=${word%"${1:0:1}"} ;;
    *) IFS= read word <<<"$word" ;; # removes backslashes
  esac
  printf %s "$word"
}

_velmor_core() {
  local -a words
  local i candidates candidate program=${1/#\~/$HOME}
  _velmor_core_words
  local current=${words[-1]}
  for i in "${!words[@]}"; do words[i]=$(_velmor_core_unquoted "${words[i]}"); done
  # Bash replaces only what follows the last : or = outside quotes.
  local kept=
  [[ $current != [\"\']* && $current == *[:=]* ]] && kept=${current%"${current##*[:=]}"}
  COMPREPLY=()
  if candidates=$("$program" complete "${words[@]:1}" 2>/dev/null </dev/null); then
    while IFS=$'\t' read -r candidate _; do
      [[ $candidate ]] || continue
      [[ $candidate == *[/[] ]] && compopt -o nospace
      [[ $current == [\"\']* ]] || printf -v candidate %q "$candidate"
      COMPREPLY+=("${candidate#"$kept"}")
    done <<<"$candidates"
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "${words[-1]}")
    COMPREPLY=("${COMPREPLY[@]#"$kept"}")
  fi
}
complete -F _velmor_core velmor-core
