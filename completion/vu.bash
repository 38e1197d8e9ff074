# Completes the command line of vu in bash. What there is to complete is read from the help of the
# very vu that is being called, so that the two are never out of step.

# Prints a line for each thing that a command takes: what it is, its name, the word for its value, and
# how that is completed.
_vu_listed() {
  "$1" help --list "${@:2}" 2>/dev/null | awk -F '\t' '{
    for (count = split($2, names, ","); count > 0; --count) print $1, names[count], $3, $4 }'
}

# Prints column $2 of the lines of $1 that are a $3 and, if given, have the name $4.
_vu_column() {
  awk -v column="$2" -v kind="$3" -v name="${4-}" \
    '$1 == kind && (name == "" || $2 == name) { print $column }' <<<"$1"
}

_vu() {
  local current=${COMP_WORDS[COMP_CWORD]} call=("${1/#\~\//$HOME/}")
  local listed value= how= end= word
  listed=$(_vu_listed "${call[@]}")
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $end$word in
      = | "") ;;  # "--format=csv" is three words
      --) end=1 value= ;;
      -*=*) value= ;;
      -*)
        value=$(_vu_column "$listed" 3 option "$word")
        how=$(_vu_column "$listed" 4 option "$word") ;;
      *)
        if [[ $value ]]; then
          [[ $value == *... ]] || value=
        elif [[ $word == help && ${#call[@]} == 1 ]]; then
          :  # commands follow
        elif [[ ! $end && -n $(_vu_column "$listed" 2 command "$word") ]]; then
          call+=("$word")
          listed=$(_vu_listed "${call[@]}")
        fi ;;
    esac
  done

  [[ $current == = ]] && current=
  local words=
  if [[ ! $end && $current == -* && ( ! $value || $value == *... ) ]]; then
    value=
    words=$(_vu_column "$listed" 2 option)
  elif [[ ! $value ]]; then
    words=$(_vu_column "$listed" 2 command)
    value=$(_vu_column "$listed" 3 operand)
    how=$(_vu_column "$listed" 4 operand)
  fi
  [[ $value ]] || how=
  case $how in
    files*)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return ;;
    codes) words=$("${call[@]}" --format tsv | cut -f 1) ;;
    words) words=${value//|/ } ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _vu vu
