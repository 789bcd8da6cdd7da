#!/bin/sh
# Holds the sources to the rooms of README.md: a file includes headers of its own room and of those below,
# and none is long.
# Usage: check_rooms.sh DIRECTORY_OF_THE_LIBRARY
set -eu
cd "$1"
most_lines=400

rooms=$(sed -n '/^## How it is built/,$ s/^| `\([a-z]*\)\/` |.*/\1/p' README.md)
{
    echo "$rooms" | sed 's/^/room /'
    find . -mindepth 2 \( -name '*.cpp' -o -name '*.h' \) | sed 's/^\.\//file /'
    grep -rn --include='*.cpp' --include='*.h' '^#include "' . | sed 's/^\.\///; s/^\([^:]*\):\([0-9]*\):#include "\(.*\)".*/include \1 \3 \2/'
    find . -name '*.cpp' -o -name '*.h' | xargs wc -l | sed -n 's/^ *\([0-9]*\) \.\//lines \1 /p'
} | awk -v most_lines="$most_lines" '
    function room_of(path) { return substr(path, 1, index(path, "/") - 1) }
    function complain(text) { print text; status = 1 }
    $1 == "room" { place[$2] = ++rooms }
    $1 == "file" { ++files; if (!place[room_of($2)]) complain($2 " stands in no room that README.md lists") }
    $1 == "include" && $3 != "oci.h" {
        if (!place[room_of($3)])
            complain($2 ":" $4 ": \"" $3 "\" names no room")
        else if (place[room_of($3)] < place[room_of($2)])
            complain($2 ":" $4 ": " $3 " is above " room_of($2) "/")
    }
    $1 == "lines" && $2 > most_lines { complain($3 " has " $2 " lines, more than " most_lines) }
    END {
        if (!rooms || !files)
            complain("there are no rooms or no files: is this the directory of the library?")
        exit status
    }'
