#!/bin/sh
# Checks who may include whom: each folder of src/ only itself and the folders below it, the window system only
# in desktop/, the virtual bus and the tool nothing of each other, the tool nothing of tools/. No header of src/ is longer than 250 lines.
set -u
cd "$1" || exit 2
failed=0
report() { printf '%s\n%s\n' "$1" "$2"; failed=1; }

# check FOLDER ALLOWED: every #include "folder/..." in FOLDER must name one of the ALLOWED folders.
checked=''
check() {
  checked="$checked $1 "
  wrong=$(grep -rnE '^#include "[a-z_]+/' "$1" --include='*.h' --include='*.cpp' | grep -vE "#include \"($2)/")
  [ -z "$wrong" ] || report "$1 may include only $2:" "$wrong"
}
logic='platform|forms|link|image|commands|workflows|results|shell'
check src/platform 'platform'
check src/forms 'platform|forms'
check src/link 'platform|forms|link'
check src/results 'platform|forms|link|image|commands|results'
check src/image 'platform|forms|link|image'
check src/commands 'platform|forms|link|image|commands'
check src/workflows 'platform|forms|link|image|commands|workflows'
check src/shell "$logic"
check src/records 'platform|forms|link|image|results|records'
check src/desktop "$logic|records|desktop"
check tools/driver 'driver'
check tools/line 'platform|results|records|link|commands|desktop|command_line|unattended|page|line'
check tools/command_line 'command_line'
check tools/page 'page'
check tools/report 'platform|forms|image|records|command_line|page|report'
check tools/unattended "$logic|records|desktop|driver|command_line|unattended"
check tools/log 'platform|forms|link|commands|results|command_line|log'
check bus 'bus|tools/command_line'

for folder in src/*/ tools/*/; do
  case $checked in
    *" ${folder%/} "*) ;;
    *) report 'This folder has no rule; add one above:' "$folder" ;;
  esac
done

outside=$(grep -rnE '#include <Q' src bus tools/log --include='*.h' --include='*.cpp' | grep -vE '^src/(desktop|records)/')
[ -z "$outside" ] || report 'Only src/desktop and src/records may include Qt:' "$outside"

long=$(find src -name '*.h' -exec awk 'FNR == 251 { print FILENAME }' {} +)
[ -z "$long" ] || report 'Headers of more than 250 lines; split them:' "$long"
exit $failed
