#!/usr/bin/env bash
# make install, tried out: installs the build into a scratch DESTDIR under a
# prefix of its own, checks that the installed tessen carries no path into
# the build folder, and runs it from another folder with nothing but what
# was installed.
#   cmake/check-install.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=/opt/tessen-install-check
DESTDIR="$scratch/root" cmake --install "$build" --prefix "$prefix" --strip > "$scratch/install.log"
root="$scratch/root$prefix"
# The install build holds only what is installed: no test programs.
built=$(find "$build" -type f -name 'test_*' -perm -u+x | head -n 1)
if [ -n "$built" ]; then
  echo "check-install: the install build also built tests ($built)" >&2
  exit 1
fi
for f in "$root/bin/tessen" "$root/lib/tessen/TessenPlus.so"; do
  [ -f "$f" ] || { echo "check-install: $f was not installed" >&2; exit 1; }
done
if grep -q -a -F "$build" "$root/bin/tessen"; then
  echo "check-install: the installed tessen still names the build folder $build" >&2
  exit 1
fi
mkdir "$scratch/elsewhere"
cd "$scratch/elsewhere"
env -u TESSEN_MODULE "$root/bin/tessen" demo out > "$scratch/demo.log" 2>&1 ||
  { echo "check-install: the installed tessen failed:" >&2; cat "$scratch/demo.log" >&2; exit 1; }
[ -s out/demo.mp4 ] || { echo "check-install: the installed tessen wrote no demo video" >&2; exit 1; }
echo "check-install: $prefix/bin/tessen and $prefix/lib/tessen/TessenPlus.so install and run from any folder"
