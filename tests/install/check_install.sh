#!/bin/sh
# Installs a built tree into a directory that is moved afterwards, unpacks its Debian packages into another, and uses
# both from outside the tree.
#
#   check_install.sh BUILD_DIR VERSION
set -eu
build=$1
version=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf 'check_install.sh: %s\n' "$*" >&2
    exit 1
}

DESTDIR=$work/stage cmake --install "$build" --prefix /opt/first >"$work/log" || { cat "$work/log" >&2; exit 1; }
mv "$work/stage/opt/first" "$work/moved"
[ -z "$(find "$work/stage" -type f)" ] || fail "files outside the prefix: $(find "$work/stage" -type f)"
if grep -rIl "$work/stage\|/opt/first\|$build" "$work/moved"; then
    fail "these files name the directory of the build or of the installation"
fi
"$here/check_prefix.sh" "$work/moved" "$version"

command -v dpkg-deb >/dev/null || { echo "no Debian system: packages are not tested"; exit 0; }
(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/packages") >"$work/log" 2>&1 ||
    { cat "$work/log" >&2; fail "cpack failed"; }
for package in "$work/packages/"*.deb; do
    dpkg-deb -x "$package" "$work/unpacked"
    name=$(dpkg-deb -f "$package" Package)
    [ -s "$work/unpacked/usr/share/doc/$name/copyright" ] || fail "$name has no copyright file"
done
depends() { dpkg-deb -f "$work/packages/$1"_*.deb Depends; }
case "$(depends libdkom1)" in *libc6*) ;; *) fail "libdkom1 depends on: $(depends libdkom1)" ;; esac
case "$(depends libdkom1)" in *stdc++*) fail "libdkom1 depends on a C++ run-time library" ;; esac
case "$(depends dkom-tools)" in *libdkom1*libstdc++6* | *libstdc++6*libdkom1*) ;; *) fail "dkom-tools depends on: $(depends dkom-tools)" ;; esac
case "$(depends dkom-embedded)" in *libsqlite3-0*) ;; *) fail "dkom-embedded depends on: $(depends dkom-embedded)" ;; esac
debug=$(find "$work/unpacked" -name 'libdkom.so.*.debug')
[ -s "$debug" ] || fail "no debug file is packaged"
readelf -S "$(dirname "$(dirname "$debug")")/libdkom.so.1" | grep -q gnu_debuglink || fail "the library names no debug file"
"$here/check_prefix.sh" "$work/unpacked/usr" "$version"
