#!/usr/bin/env bash
# The Windows module as Windows loads it, compared with the Linux module:
# the Windows build of the headless render driver runs under Wine on the
# cross-built .aex, the Linux build on the .so, and their outputs (every
# frame of a fixed set of renders and an Auto Setup press) must be the same
# bytes.
#   cmake/check-wine.sh LINUX_BUILD WINDOWS_MODULE_BUILD WINDOWS_HOST_BUILD
set -euo pipefail
linux=$(cd "$1" && pwd)
winmod=$(cd "$2" && pwd)
winhost=$(cd "$3" && pwd)
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || wine=$(command -v wine64 || command -v wine || true)
[ -n "$wine" ] && [ -x "$wine" ] || { echo "check-wine: wine64 is not installed" >&2; exit 1; }
export WINEPREFIX="$winhost/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  start=$(date +%s)
  "$wine" wineboot -i > "$winhost/wineboot.log" 2>&1 || { cat "$winhost/wineboot.log" >&2; exit 1; }
  echo "check-wine: Wine prefix made in $(( $(date +%s) - start )) s"
fi
out="$winhost/compare"
mkdir -p "$out"
"$linux/tools/headless_render" "$linux/TessenPlus.so" "$out/linux.raw"
start=$(date +%s)
"$wine" "$winhost/tools/headless_render.exe" "Z:${winmod//\//\\}\\TessenPlus.aex" "Z:${out//\//\\}\\windows.raw" < /dev/null
echo "check-wine: the Windows run took $(( $(date +%s) - start )) s under Wine"
"$wine" wineserver -k > /dev/null 2>&1 || true
if ! diff=$(cmp "$out/linux.raw" "$out/windows.raw" 2>&1); then
  offset=$(awk '{ for (i = 1; i <= NF; i++) if ($i == "byte") { gsub(",", "", $(i + 1)); print $(i + 1) - 1 } }' <<<"$diff")
  where=$(awk -v o="${offset:-0}" '$1 <= o { line = $0 } END { sub(/^[0-9]+ /, "", line); print line }' "$out/linux.raw.index")
  echo "check-wine: the Windows module's output differs from the Linux module's: $diff (in: $where)" >&2
  exit 1
fi
cmp -s "$out/linux.raw.index" "$out/windows.raw.index" || { echo "check-wine: the two runs did different renders" >&2; exit 1; }
echo "check-wine: TessenPlus.aex under Wine gives the same $(stat -c %s "$out/linux.raw") bytes as TessenPlus.so"
