# Bash completion for tarvo and localmq: options, files behind -f, -F and -j, queue managers behind -m.

_tarvo() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case "$word" in
    -[fFj]*) mapfile -t COMPREPLY < <(compgen -f -P "${word:0:2}" -- "${word:2}") ;;
    -m*) mapfile -t COMPREPLY < <(compgen -P -m -W "$(_tarvo_qmgrs)" -- "${word:2}") ;;
    -*) mapfile -t COMPREPLY < <(compgen -W "$(printf -- '-%s ' a A b c C d D e E f F g G h H i I j l L m n o O p P q r \
      R s S t T u U v w x X z '$' '?')" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  esac
}

_tarvo_qmgrs() { localmq list 2>/dev/null | tr -d '*'; }

_localmq() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case "$COMP_CWORD,${COMP_WORDS[1]}" in
    1,*) mapfile -t COMPREPLY < <(compgen -W "create delete list --help $(_tarvo_qmgrs)" -- "$word") ;;
    *,delete) mapfile -t COMPREPLY < <(compgen -W "$(_tarvo_qmgrs)" -- "$word") ;;
    *,create) mapfile -t COMPREPLY < <(compgen -W "--default --if-missing" -- "$word") ;;
  esac
}

complete -o filenames -F _tarvo tarvo
complete -F _localmq localmq
