#!/usr/bin/env bash
# The Windows module as Windows loads it, compared with the Linux module:
# the Windows build of the headless render driver runs under Wine on the
# cross-built .aex, the Linux build on the .so, and their outputs (every
# frame of a fixed set of renders and an Auto Setup press) must be the same
# bytes. The shipped module is run on the path its capability test picks;
# the test copy TessenPlusVariants on every path (regular and each SIMD
# vector width), forced through its one extra export.
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
compare() {  # module base name
  local name="$1"
  "$linux/tools/headless_render" "$linux/$name.so" "$out/$name.linux.raw" > /dev/null
  local start
  start=$(date +%s)
  "$wine" "$winhost/tools/headless_render.exe" "Z:${winmod//\//\\}\\$name.aex" "Z:${out//\//\\}\\$name.windows.raw" < /dev/null > /dev/null
  echo "check-wine: the Windows run of $name took $(( $(date +%s) - start )) s under Wine"
  if ! diff=$(cmp "$out/$name.linux.raw" "$out/$name.windows.raw" 2>&1); then
    offset=$(awk '{ for (i = 1; i <= NF; i++) if ($i == "byte") { gsub(",", "", $(i + 1)); print $(i + 1) - 1 } }' <<<"$diff")
    where=$(awk -v o="${offset:-0}" '$1 <= o { line = $0 } END { sub(/^[0-9]+ /, "", line); print line }' "$out/$name.linux.raw.index")
    echo "check-wine: $name.aex's output differs from $name.so's: $diff (in: $where)" >&2
    exit 1
  fi
  cmp -s "$out/$name.linux.raw.index" "$out/$name.windows.raw.index" ||
    { echo "check-wine: the two runs of $name did different renders" >&2; exit 1; }
  echo "check-wine: $name.aex under Wine gives the same $(stat -c %s "$out/$name.linux.raw") bytes as $name.so ($(wc -l < "$out/$name.linux.raw.index") renders and presses)"
}
compare TessenPlus
compare TessenPlusVariants
"$wine" wineserver -k > /dev/null 2>&1 || true
