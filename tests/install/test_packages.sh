#!/bin/sh
# Installs the Debian packages of a build on this system, uses them from outside the tree, and removes them again.
#
#   test_packages.sh BUILD_DIR
#
# Packages that were installed before are left alone: then it stops. Needs root, or sudo.
set -eu
build=$1
here=$(cd "$(dirname "$0")" && pwd)

fail() {
    printf 'test_packages.sh: %s\n' "$*" >&2
    exit 1
}

root=""
[ "$(id -u)" -eq 0 ] || root=sudo
names=""
for package in "$build"/*.deb; do
    names="$names $(dpkg-deb -f "$package" Package)"
    version=$(dpkg-deb -f "$package" Version)
done
# shellcheck disable=SC2086 # lists of words, here and below
if dpkg-query -W -f '${Status} ${Package}\n' $names 2>/dev/null | grep '^install'; then
    fail "these packages are installed already; remove them first"
fi

trap '$root dpkg --purge $names >/dev/null 2>&1 || :' EXIT
$root dpkg -i "$build"/*.deb >"$build/dpkg.log" 2>&1 || { cat "$build/dpkg.log" >&2; fail "dpkg -i failed"; }
"$here/check_prefix.sh" /usr "$version"
[ -e /usr/share/man/man7/libdkom.7 ] || fail "the libraries' manual is missing"
debug=$(dpkg -L libdkom1-dbgsym | grep '/libdkom\.so.*\.debug$')
[ -s "$debug" ] || fail "no debug file is installed"

$root dpkg --purge $names >"$build/dpkg.log" 2>&1 || { cat "$build/dpkg.log" >&2; fail "dpkg --purge failed"; }
trap - EXIT
for path in /usr/lib/*/libdkom* /usr/lib/*/dkom /usr/include/dkom /usr/bin/dkom*; do
    [ ! -e "$path" ] || fail "$path is left behind"
done
echo "installed, used and removed:$names"
