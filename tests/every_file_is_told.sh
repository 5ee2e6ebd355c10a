#!/bin/sh
# Holds that docs/architecture.md names every source file: newcomers find their way by it.
set -u
cd "$1" || exit 2
missing=$(find src bus tools -name '*.h' -o -name '*.cpp' | while read -r file; do
  name=$(basename "$file" | sed 's/\.[a-z]*$//; s/_\(linux\|windows\)$/_*/')
  grep -qF "$name" docs/architecture.md || echo "$file"
done)
[ -z "$missing" ] || { printf 'docs/architecture.md does not name:\n%s\n' "$missing"; exit 1; }
