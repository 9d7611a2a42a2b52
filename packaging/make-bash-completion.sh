#!/bin/sh
# Writes the bash completion of a program with subcommands from its own
# --help texts, so it follows them: make-bash-completion.sh PROGRAM OUTPUT
#
# It completes the subcommands listed under "subcommands:" in the main help;
# after one, the options its usage line names, folders for --repo and for a
# DIR argument, and the names its help lists as "  NAME  {ARGS}" (the reads
# of `query`).
set -eu
program=$1 output=$2
name=${program##*/}
function_name=_$(printf '%s' "$name" | tr -c '[:alnum:]\n' _)

help=$("$program" --help)
commands=$(printf '%s\n' "$help" | awk '/^[a-z][a-z ]*:$/ { listed = ($0 == "subcommands:"); next }
  listed && /^  [a-z]/ { print $1 }')

{
  printf '# bash completion for %s, made from its --help texts when it was built.\n' "$name"
  printf '%s() {\n' "$function_name"
  printf '    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words=\n'
  printf '    if ((COMP_CWORD == 1)); then\n'
  printf "        mapfile -t COMPREPLY < <(compgen -W '%s --help --version' -- \"\$current\")\n" \
    "$(printf '%s' "$commands" | tr '\n' ' ')"
  printf '        return\n    fi\n'
  printf '    if [[ $previous == --repo ]]; then\n'
  printf '        mapfile -t COMPREPLY < <(compgen -d -- "$current")\n        return\n    fi\n'
  printf '    case ${COMP_WORDS[1]} in\n'
  dir_commands=
  for command in $commands; do
    command_help=$("$program" "$command" --help)
    usage=$(printf '%s\n' "$command_help" | sed -n 1p)
    options=$(printf '%s\n' "$usage" | grep -o -- '--[a-z][a-z-]*' | sort -u | tr '\n' ' ')
    names=$(printf '%s\n' "$command_help" | sed -n 's/^  \([A-Za-z][A-Za-z]*\)  *{.*/\1/p' |
      tr '\n' ' ')
    printf "    %s) words='%s--help %s' ;;\n" "$command" "$options" "$names"
    case $usage in
    *" DIR"*) dir_commands="$dir_commands${dir_commands:+|}$command" ;;
    esac
  done
  printf '    esac\n'
  if [ -n "$dir_commands" ]; then
    printf '    if [[ ${COMP_WORDS[1]} == @(%s) && $current != -* ]]; then\n' "$dir_commands"
    printf '        mapfile -t COMPREPLY < <(compgen -d -- "$current")\n        return\n    fi\n'
  fi
  printf '    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")\n'
  printf '}\ncomplete -F %s %s\n' "$function_name" "$name"
} >"$output"
