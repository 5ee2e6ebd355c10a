#!/bin/sh
# Checks --help and --version of each program in the folder $1: the sections of a manual page in their order, lines of
# at most 75 columns, a sample of the output under EXAMPLES, and "PROGRAM VERSION".
set -u
failed=0
report() { printf '%s: %s\n' "$program" "$1"; failed=1; }

for program in quillon quillon-bus quillon-line quillon-log quillon-report quillon-unattended; do
  [ -x "$1/$program" ] || continue  # the others are built with Qt only
  help=$("$1/$program" --help) || report "--help fails"
  sections=$(printf '%s\n' "$help" | grep -E '^(SYNOPSIS|DESCRIPTION|OPTIONS|EXIT STATUS|EXAMPLES)$' | tr '\n' ' ')
  [ "$sections" = "SYNOPSIS DESCRIPTION OPTIONS EXIT STATUS EXAMPLES " ] || report "has the sections $sections"
  long=$(printf '%s\n' "$help" | grep -E '.{76}') && report "has long lines: $long"
  printf '%s\n' "$help" | sed -n '/^EXAMPLES$/,$p' | grep -q '^ *\$ ' || report "shows no output"
  [ "$("$1/$program" --version)" = "$program $2" ] || report "--version prints no version"
done
exit $failed
