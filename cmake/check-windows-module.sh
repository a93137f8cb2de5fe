#!/usr/bin/env bash
# Checks what the host will see of the Windows module: the entry point is
# exported undecorated, only system libraries are imported, and the
# registration record is present (when the build asks for it, or with --pipl).
set -euo pipefail
mod="$1"
dump=$(x86_64-w64-mingw32-objdump -p "$mod")
grep -qE '\] EntryPointFunc$' <<<"$dump" || { echo "$mod: EntryPointFunc is not exported"; exit 1; }
dlls=$(grep 'DLL Name:' <<<"$dump" | awk '{print tolower($3)}' | sort -u)
for d in $dlls; do
  case "$d" in
    kernel32.dll|msvcrt.dll|user32.dll|ucrtbase.dll|api-ms-win-*) ;;
    *) echo "$mod imports a non-system library: $d"; exit 1 ;;
  esac
done
if [ -f "$(dirname "$mod")/pipl-required" ] || [ "${2:-}" = "--pipl" ]; then
  x86_64-w64-mingw32-objdump -h "$mod" | grep -q '\.rsrc' || { echo "$mod has no resource section"; exit 1; }
  # The type name is stored as UTF-16 "PIPL" (4 characters) in the resource
  # directory; the record itself starts with its vendor code "MIB8".
  rsrc=$(x86_64-w64-mingw32-objdump -s -j .rsrc "$mod" | awk 'NR > 4 { print substr($0, length($0) - 15) }' | tr -d '\n')
  grep -q 'P.I.P.L' <<<"$rsrc" || { echo "$mod has no PIPL resource"; exit 1; }
  grep -q 'MIB8' <<<"$rsrc" || { echo "$mod: the PIPL resource holds no property record"; exit 1; }
fi
echo "$mod: exports EntryPointFunc, imports only: $(echo $dlls | tr '\n' ' ')"
