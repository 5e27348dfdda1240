#!/bin/sh
# make install puts exactly the program, manual page, guide and demo club under PREFIX;
# uninstall takes exactly those away again. The manual page renders without a warning.
#   tests/install.sh SOURCE_DIR BUILD_DIR
set -e
. "$(dirname "$0")/common.sh"
src=$1
build=$(cd "$2" && pwd)

warnings=$(groff -ww -man -z "$src/doc/varnok.1" 2>&1)
[ -z "$warnings" ] || fail "manual page: $warnings"

root=$dir/root
mkdir -p "$root/opt/bin" && echo keep >"$root/opt/bin/other-tool"
# A failing make shows its output (as the console).
make -s -C "$src" install NOBUILD=1 BUILD="$build" DESTDIR="$root" PREFIX=/opt >"$dir/console" 2>&1
{
    echo ./opt/bin/other-tool
    echo ./opt/bin/varnok
    echo ./opt/share/man/man1/varnok.1
    echo ./opt/share/varnok/VARNOK.TXT
    for f in "$src"/demo/*; do echo "./opt/share/varnok/demo/${f##*/}"; done
} | sort >"$dir/expected"
(cd "$root" && find . -type f | sort) >"$dir/installed"
diff "$dir/expected" "$dir/installed" >&2 || fail "installed files differ"
cmp "$src/demo/VARNOK.TXT" "$root/opt/share/varnok/VARNOK.TXT" || fail "guide differs"
[ -x "$root/opt/bin/varnok" ] && "$root/opt/bin/varnok" --version | grep -qx 'Version 10(116)' ||
    fail "installed program does not run"

make -s -C "$src" uninstall BUILD="$build" DESTDIR="$root" PREFIX=/opt >"$dir/console" 2>&1
(cd "$root" && find . | sort) >"$dir/left"
printf '%s\n' . ./opt ./opt/bin ./opt/bin/other-tool ./opt/share ./opt/share/man \
    ./opt/share/man/man1 >"$dir/expected"
diff "$dir/expected" "$dir/left" >&2 || fail "uninstall left or took other files"
