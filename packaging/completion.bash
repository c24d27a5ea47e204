# SPDX-License-Identifier: Apache-2.0
# Completes brivane's commands, their options, and what options take.
_brivane() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
  COMPREPLY=()
  case $previous in
    --capture | --track | --info | --ca) compopt -o default; return ;;
    --speed) words=max ;;
    --adapter) words=$(cd /sys/class/bluetooth 2>/dev/null && ls) ;;
    --for | --connect | --desktop-id) return ;;
    *)
      if [ "$COMP_CWORD" = 1 ]; then
        words="$(brivane --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p') --help --version"
      else
        words=$(brivane "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o -- '--[a-z][a-z-]*' | sort -u)
        [[ $current == -* ]] || compopt -o default
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _brivane brivane
