#!/bin/sh
# Writes the manual page of a program from its own --help, so the two never
# disagree: make-manual-page.sh PROGRAM VERSION OUTPUT
#
# The help's shape is the house one: "usage: NAME ..." (continued on indented
# lines), a blank line, paragraphs of description whose first line is the
# one-line summary, then sections headed "name:" alone on a line. A program
# whose help has a "subcommands:" section ("  NAME  what it does" lines) gets
# each subcommand's own --help as a subsection.
set -eu
program=$1 version=$2 output=$3
name=${program##*/}

# Roff-safe text: backslashes and hyphens escaped, a leading dot or quote
# made literal.
roff() {
  sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e "s/^\\([.']\\)/\\\\\\&\\1/"
}
# The subcommand names a help lists under "subcommands:".
subcommands() {
  awk '/^[a-z][a-z ]*:$/ { listed = ($0 == "subcommands:"); next }
       listed && /^  [a-z]/ { print $1 }'
}

help=$("$program" --help)
summary=$(printf '%s\n' "$help" | awk 'seen && NF { sub(/\.$/, ""); print; exit } !NF { seen = 1 }')
upper=$(printf '%s' "$name" | tr '[:lower:]' '[:upper:]')

{
  printf '.TH %s 1 "" "%s %s" "User Commands"\n' "$(printf '%s' "$upper" | roff)" \
    "$(printf '%s' "$name" | roff)" "$version"
  printf '.SH NAME\n%s \\- %s\n' "$(printf '%s' "$name" | roff)" \
    "$(printf '%s' "$summary" | roff)"
  printf '%s\n' "$help" | roff | awk '
    NR == 1 { sub(/^usage: /, ""); print ".SH SYNOPSIS\n.nf"; print; state = "usage"; next }
    state == "usage" && !NF { print ".fi\n.SH DESCRIPTION"; state = "description"; next }
    state == "usage" { sub(/^ +/, "    "); print; next }
    /^[a-z][a-z ]*:$/ {
      if (state == "section") print ".fi"
      print ".SH " toupper(substr($0, 1, length($0) - 1)) "\n.nf"
      state = "section"; next
    }
    state == "description" && !NF { paragraph = started; next }
    state == "description" { if (paragraph) print ".PP"; paragraph = 0; started = 1; print; next }
    { print }
    END { if (state == "section") print ".fi" }'
  commands=$(printf '%s\n' "$help" | subcommands)
  if [ -n "$commands" ]; then
    printf '.SH "SUBCOMMANDS IN DETAIL"\n'
    for command in $commands; do
      printf '.SS "%s %s"\n.nf\n' "$(printf '%s' "$name" | roff)" "$command"
      "$program" "$command" --help | roff
      printf '.fi\n'
    done
  fi
} >"$output"
