# shellcheck shell=bash
# Checks job options against a printer description before anything is printed.
#
# The print system drops an unknown option or value without a word; whoever mistypes one would
# look for the reason on paper.

# Job options of the print system itself, known to it for every printer; * stands for any ending.
system_options='pagesize media landscape orientation-requested page-ranges page-set fit-to-page
fitplot fill copies collate number-up number-up-layout page-border print-scaling center-of-pixel
scaling ppi position mirror outputorder printer-resolution cpi lpi columns
page-left page-right page-top page-bottom'

# ppd_choices FILE: one line "Option Choice" for each choice of each option.
ppd_choices() {
  awk -F'[*: /]+' '
    /^\*OpenUI/ { option = $3; next }
    /^\*CloseUI/ { option = ""; next }
    option != "" && $2 == option { print option, $3 }' "$1"
}

# lower TEXT: the text in small letters; names are compared without regard to case.
lower() { printf '%s' "${1,,}"; }

# choices_of PPD OPTION: the choices of one option on one line, or nothing.
choices_of() {
  ppd_choices "$1" | awk -v wanted="$(lower "$2")" \
    'tolower($1) == wanted { printf "%s%s", sep, $2; sep = " " }'
}

is_system_option() {
  local known
  for known in $system_options; do
    [ "$known" != "$(lower "$1")" ] || return 0
  done
  return 1
}

# check_option PPD NAME=VALUE|NAME|noNAME: prints one message and fails where the option or its
# value is none that the printer or the print system knows.
check_option() {
  local ppd=$1 name=${2%%=*} value=true choices choice
  case "$2" in
    *=*) value=${2#*=} ;;
    *)
      choices=$(choices_of "$ppd" "$name")
      if [ -z "$choices" ] && [ "${name#no}" != "$name" ] &&
        [ -n "$(choices_of "$ppd" "${name#no}")" ]; then
        name=${name#no}
        value=false
      fi
      ;;
  esac
  choices=$(choices_of "$ppd" "$name")
  if [ -z "$choices" ]; then
    is_system_option "$name" && return 0
    echo "unknown option \"$name\"; this printer has:" \
      "$(ppd_choices "$ppd" | cut -d' ' -f1 | uniq | tr '\n' ' ')"
    echo "and the print system: ${system_options//$'\n'/ }"
    return 1
  fi
  for choice in $choices; do
    [ "$(lower "$choice")" != "$(lower "$value")" ] || return 0
  done
  if [ "$(lower "$name")" = pagesize ]; then
    [[ "$value" =~ ^Custom\.[0-9.]+x[0-9.]+(pt|mm|cm|in|ft|m)?$ ]] && return 0
    choices="$choices Custom.WIDTHxHEIGHTmm"
  fi
  echo "unknown value \"$value\" for $name; it can be: $choices"
  return 1
}

# option_value NAME OPTION...: the last value given for an option, or nothing.
option_value() {
  local wanted value='' option
  wanted=$(lower "$1")
  shift
  for option in "$@"; do
    [ "$(lower "${option%%=*}")" != "$wanted" ] || value=${option#*=}
  done
  printf '%s' "$value"
}
