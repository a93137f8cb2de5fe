#!/usr/bin/env bash
# Makes the folder a user installs from: the Windows module without its
# debug sections, the debug sections in a file of their own (linked to the
# module by name, for a debugger), and the install note.
#   cmake/make-dist.sh BUILD_DIR DIST_DIR
set -euo pipefail
build="$1"
dist="$2"
here=$(cd "$(dirname "$0")" && pwd)
objcopy=x86_64-w64-mingw32-objcopy
rm -rf "$dist"
mkdir -p "$dist"
"$objcopy" --only-keep-debug "$build/TessenPlus.aex" "$dist/TessenPlus.aex.debug"
"$objcopy" --strip-debug --add-gnu-debuglink="$dist/TessenPlus.aex.debug" "$build/TessenPlus.aex" "$dist/TessenPlus.aex"
cp "$here/../docs/INSTALL-Windows.txt" "$dist/INSTALL.txt"
if x86_64-w64-mingw32-objdump -h "$dist/TessenPlus.aex" | grep -q '\.debug'; then
  echo "$dist/TessenPlus.aex still has debug sections" >&2
  exit 1
fi
bash "$here/check-windows-module.sh" "$dist/TessenPlus.aex" --pipl
echo "$dist: TessenPlus.aex ($(stat -c %s "$dist/TessenPlus.aex") bytes), TessenPlus.aex.debug, INSTALL.txt"
