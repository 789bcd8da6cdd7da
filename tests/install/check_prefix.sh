#!/bin/sh
# Uses an installation as a program outside the tree does: builds a C and a C++ program for both editions, with
# pkg-config and with find_package, and runs them on both embedded backends; asks each tool for its version.
#
#   check_prefix.sh PREFIX VERSION
#
# Of /usr nothing is told to the compiler and the loader: it is found by itself.
set -eu
prefix=$1
version=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf 'check_prefix.sh: %s: %s\n' "$prefix" "$*" >&2
    exit 1
}

if [ "$prefix" != /usr ]; then
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name dkom.pc)")
    LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH")
    CMAKE_PREFIX_PATH=$prefix
    export PKG_CONFIG_PATH CMAKE_PREFIX_PATH LD_LIBRARY_PATH
fi

# --- built outside the tree

[ "$(pkg-config --modversion dkom dkomx | sort -u)" = "$version" ] || fail "pkg-config tells another version"
cp -r "$here/consumer" "$work/source"
if ! { cmake -S "$work/source" -B "$work/build" && cmake --build "$work/build"; } >"$work/log" 2>&1; then
    cat "$work/log" >&2
    fail "find_package(dkom) does not build a program"
fi
for edition in dkom dkomx; do
    # shellcheck disable=SC2046 # a list of words
    ${CC:-cc} -std=c99 "$work/source/answer.c" -o "$work/build/pkgconfig_c_$edition" $(pkg-config --cflags --libs $edition)
    # shellcheck disable=SC2046
    ${CXX:-c++} -x c++ "$work/source/answer.c" -o "$work/build/pkgconfig_cxx_$edition" \
        $(pkg-config --cflags --libs $edition)
done

# --- run

embedded=$(pkg-config --variable=embedded_dir dkom)
[ "$(realpath "$embedded")" = "$(realpath "$(cat "$work/build/embedded_dir")")" ] ||
    fail "pkg-config and CMake differ about the embedded backends"
mkdir "$work/oracle" "$work/dravik"
: >"$work/oracle/west.db"
: >"$work/dravik/east.db"
export DKOM_ORA_LIB_PATH="$embedded" DKOM_DRK_LIB_PATH="$embedded"
export DKOM_LOG_PATH="$work" SQLITE_OCI_CLNTSH_DIR="$work/oracle" SQLITE_OCI_DKOCI_DIR="$work/dravik"
count=0
for program in "$work/build/"cmake_c*_dkom* "$work/build/"pkgconfig_c*_dkom*; do
    readelf -d "$program" | grep -q "NEEDED.*\[lib${program##*_}\.so\.1\]" || fail "$program needs another library"
    # What CMake built knows where the library is; what pkg-config built asks the loader.
    case $program in
    */cmake_*) search=${PATH#"$PATH"} ;;
    *) search=${LD_LIBRARY_PATH:-} ;;
    esac
    for link in west east; do
        answer=$(LD_LIBRARY_PATH=$search "$program" $link) || fail "${program##*/} $link fails"
        [ "$answer" = "42 from $link, $version" ] || fail "${program##*/} $link prints: $answer"
    done
    count=$((count + 1))
done
[ "$count" -eq 8 ] || fail "$count programs were built, not 8"

# --- the tools, moved along with their prefix: each option is in the manual and in the completions

unset LD_LIBRARY_PATH
tools=0
for tool in "$prefix/bin/"dkom*; do
    case $("$tool" --version) in
    *"$version"*) tools=$((tools + 1)) ;;
    *) fail "$tool --version does not tell version $version" ;;
    esac
    name=${tool##*/}
    manual=$prefix/share/man/man1/$name.1
    other=$(sed -n 's/^\.so //p' "$manual") # a manual may stand for that of another command
    sed 's/\\-/-/g' "${other:+$prefix/share/man/}${other:-$manual}" >"$work/manual"
    bash_completion=$prefix/share/bash-completion/completions/$name
    zsh_completion=$(grep -l "^#compdef.*\b$name\b" "$prefix/share/zsh/site-functions/"_*) ||
        fail "$name has no completion for zsh"
    bash -n "$bash_completion"
    # A completion may be that of another command.
    shared=$(sed -n 's/^ *\(\.\|source\|_completion_loader\) .*\b\(dkom[a-z-]*\).*/\2/p' "$bash_completion")
    bash_completion=$prefix/share/bash-completion/completions/${shared:-$name}
    for option in $("$tool" --help | sed -n 's/^  *\(-., *\)\{0,1\}\(--[a-z-]*\).*/\2/p'); do
        for file in "$work/manual" "$bash_completion" "$zsh_completion"; do
            grep -q -e "$option\b" "$file" || fail "$file does not know $name's option $option"
        done
    done
done
[ "$tools" -ge 1 ] || fail "no tool is installed"
echo "$prefix: $count programs and $tools tools"
