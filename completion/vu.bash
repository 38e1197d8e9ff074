# Completes the command line of vu in bash. What there is to complete is read from the help of the
# very vu that is being called, so that the two are never out of step.

# Prints a line for each thing that a command's help lists: section, name, word for its value.
_vu_listed() {
  "$@" --help 2>/dev/null | awk '
    /^(Examples:|Exit status)/ { exit }
    /^[A-Z][a-z]*:$/ { section = $1 }
    /^  [^ ]/ {
      sub(/^  /, ""); sub(/  .*/, "")
      for (count = split($1, names, ","); count > 0; --count) print section, names[count], $2
    }'
}

# Prints column $2 of the lines of $1 whose section is $3 and, if given, whose name is $4.
_vu_column() {
  awk -v column="$2" -v section="$3:" -v name="${4-}" \
    '$1 == section && (name == "" || $2 == name) { print $column }' <<<"$1"
}

_vu() {
  local current=${COMP_WORDS[COMP_CWORD]} call=("${1/#\~\//$HOME/}")
  local listed value= end= word
  listed=$(_vu_listed "${call[@]}")
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $end$word in
      = | "") ;;  # "--format=csv" is three words
      --) end=1 value= ;;
      -*=*) value= ;;
      -*) value=$(_vu_column "$listed" 3 Options "$word") ;;
      *)
        if [[ $value ]]; then
          [[ $value == *... ]] || value=
        elif [[ ! $end && -n $(_vu_column "$listed" 2 Commands "$word") ]]; then
          call+=("$word")
          listed=$(_vu_listed "${call[@]}")
        fi ;;
    esac
  done

  [[ $current == = ]] && current=
  local words=
  if [[ ! $end && $current == -* && ( ! $value || $value == *... ) ]]; then
    value=
    words=$(_vu_column "$listed" 2 Options)
  elif [[ ! $value ]]; then
    words=$(_vu_column "$listed" 2 Commands)
    value=$(_vu_column "$listed" 2 Operands)
  fi
  case $value in
    FILE* | LIST | IN | IN$'\n'OUT | ARGUMENT)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return ;;
    CODE*) words=$("${call[@]}" | cut -f 1) ;;
    *\|*) words=${value//|/ } ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _vu vu
