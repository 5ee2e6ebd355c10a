#!/bin/sh
# Compares the tables of docs/architecture.md with the source files of src/, bus/ and tools/: each file must be
# named, and each name must be a file. A table begins with its folder, "| `src/link/` | |"; the first column of its
# rows contains the names in backquotes, without ending; "_*" stands for the file of each system and their header.
set -u
cd "$1" || exit 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
find src bus tools -name '*.h' -o -name '*.cpp' |
  sed 's/\.[a-z]*$//; s/_\(linux\|windows\)$//' | sort -u >"$work/files"
awk -F'|' '
  /^\| `(src|bus|tools)\/[a-z_\/]*` *\| *\|$/ { split($2, name, "`"); folder = name[2]; next }
  !/^\|/ { folder = "" }
  folder != "" { n = split($2, name, "`"); for (i = 2; i <= n; i += 2) print folder name[i] }
' docs/architecture.md | sed 's/\.[a-z]*$//; s/_\*$//' | sort -u >"$work/names"
failed=0
diff "$work/files" "$work/names" >"$work/differences" || {
  echo "docs/architecture.md and the files differ (< is a file without its name, > a name without its file):"
  grep '^[<>]' "$work/differences"
  failed=1
}

# Constants and files that the text names exist.
# shellcheck disable=SC2016
for name in $(grep -oE '`k[A-Z][A-Za-z]+`|`[a-z_/]+\.(cpp|h|sh)`' docs/architecture.md | tr -d '`' | sort -u); do
  case $name in
    k*) grep -rqw "$name" src bus tools || { echo "docs/architecture.md: no source file contains $name"; failed=1; } ;;
    *) find src bus tools tests -path "*/$name" -o -path "$name" | grep -q . ||
      { echo "docs/architecture.md: there is no $name"; failed=1; } ;;
  esac
done
exit $failed
