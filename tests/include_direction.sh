#!/bin/sh
# Holds who may include whom: each folder of src/ only itself and the folders below it, the window system only
# in desktop/, the virtual bus and the tool nothing of each other, and neither of them anything of tools/.
set -u
cd "$1" || exit 2
failed=0

# check FOLDER ALLOWED: every #include "folder/..." in FOLDER must name one of the ALLOWED folders.
check() {
  wrong=$(grep -rnE '^#include "[a-z_]+/' "$1" --include='*.h' --include='*.cpp' | grep -vE "#include \"($2)/")
  [ -z "$wrong" ] || { printf '%s may include only %s:\n%s\n' "$1" "$2" "$wrong"; failed=1; }
}
check src/platform 'platform'
check src/shell 'platform|shell'
check src/link 'platform|shell|link'
check src/image 'platform|shell|link|image'
check src/commands 'platform|shell|link|image|commands'
check src/workflows 'platform|shell|link|image|commands|workflows'
check src/desktop 'platform|shell|link|image|commands|workflows|desktop'
check tools/driver 'driver'
check tools/unattended 'platform|shell|link|image|commands|workflows|desktop|driver|unattended'
check bus 'bus'
check tools/log 'platform|shell|link|commands|log'

outside=$(grep -rnE '#include <Q' src bus tools/log --include='*.h' --include='*.cpp' | grep -v '^src/desktop/')
[ -z "$outside" ] || { printf 'Qt belongs to src/desktop alone:\n%s\n' "$outside"; failed=1; }
exit $failed
