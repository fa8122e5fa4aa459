#!/usr/bin/env bash
# Checks who includes whom, and prints file:line of each breach; and that no room of host/ and panel/ has
# more than a dozen files.
#
#   driver <- data <- scan <- fins   a folder includes itself, those left of it, <QtCore/...> and
#                                    the C++ standard library
#   values <- wire <- driver <- poll <- jobs <- watch <- line
#                                    the rooms of host/: a room includes itself and those left of it,
#                                    the layer's own headers, the driver's two installed headers,
#                                    QtCore, QtNetwork, libpcap and the C++ standard library;
#                                    driver, which loads it, the system's loader; line, the
#                                    system's sockets
#   host/include/                    installed: includes only what is installed, Qt, libpcap and the
#                                    C++ standard library
#   process <- picture <- trend <- screen <- output <- watch <- files <- options <- context <- commands
#                                    the rooms of panel/: a room includes itself and those left of it,
#                                    and panel/host_names.h; main.cpp includes any of them
#   panel/                           of the host layer <velkor/host/...>, of the library nothing
#   examples/                        of the library only its installed headers, <velkor/...>
#   plc/                             nothing of the library
#
# Usage: tools/check_layers.sh [tree]   (default: the tree this script lies in)
# Exit code: 0 clean, 1 breaches found, 2 wrong usage.
set -u
export LC_ALL=C

if [ $# -gt 1 ] || [ ! -d "${1:-.}" ]; then
    echo "usage: tools/check_layers.sh [tree]   (tree: a directory that holds driver/, data/, ...)" >&2
    exit 2
fi
cd "${1:-$(dirname "$0")/..}" || exit 2

readonly layers=(driver data scan fins)
readonly panel_rooms=(process picture trend screen output watch files options context commands)
readonly host_rooms=(values wire driver poll jobs watch line)
breaches=0

# Prints "file<TAB>line<TAB>included" for every include directive of a folder; `included` keeps its
# quotes or brackets, and is the bare text of an include that has neither.
includes_of() {
    [ -e "$1" ] || return 0
    grep -HrnE --include='*.h' --include='*.hpp' --include='*.cpp' --include='*.cc' \
        --include='*.c' --include='*.inc' --include='*.in' '^[[:space:]]*#[[:space:]]*include' "$1" |
        sed -E 's/^([^:]+):([0-9]+):[[:space:]]*#[[:space:]]*include(_next)?[[:space:]]*(("[^"]*"|<[^>]*>)|[^[:space:]]*).*/\1\t\2\t\4/'
}

breach() { # file line included reason
    echo "$1:$2: includes $3: $4"
    breaches=$((breaches + 1))
}

# Whether a quoted or bracketed path names a folder of the library.
names_library() { # path
    local layer
    for layer in "${layers[@]}"; do
        case $1 in
        "$layer"/* | */"$layer"/*) return 0 ;;
        esac
    done
    return 1
}

# What a file of one layer may include: nothing to the right of its own folder.
check_layer() { # folder, then the folders it may see
    local folder=$1 file line included path
    shift
    while IFS=$'\t' read -r file line included; do
        path=${included:1:${#included}-2}
        case $included in
        '"'*/../*'"' | '"../'*'"' | '"./'*'"')
            breach "$file" "$line" "$included" 'write paths from the top of the tree' ;;
        '"'*/*'"')
            case " $* " in
            *" ${path%%/*} "*) ;;
            *) breach "$file" "$line" "$included" "$folder/ may see only: $*" ;;
            esac ;;
        '"'*'"')
            [ -e "${file%/*}/$path" ] ||
                breach "$file" "$line" "$included" "no such file beside it; $folder/ may see only: $*" ;;
        '<QtCore/'*'>') ;;
        '<'*[!a-z_0-9]*'>')
            breach "$file" "$line" "$included" 'of libraries only <QtCore/...> and standard C++ headers' ;;
        '<'*'>') ;;
        *) breach "$file" "$line" "$included" 'an include must name its file' ;;
        esac
    done < <(includes_of "$folder")
}

# What a folder outside the library may include of it: the installed headers, or nothing.
check_outsider() { # folder installed_headers_allowed(yes|no)
    local folder=$1 allowed=$2 file line included path
    while IFS=$'\t' read -r file line included; do
        path=${included:1:${#included}-2}
        case $included in
        '<velkor/host_interface.h>' | '<velkor/records.h>')
            [ "$allowed" = yes ] ||
                breach "$file" "$line" "$included" "$folder/ knows nothing of the library" ;;
        '<velkor/host/'*'>') [ "$allowed" = yes ] || breach "$file" "$line" "$included" "$folder/ knows nothing of the host layer" ;;
        '<velkor/'* | '"velkor/'*)
            breach "$file" "$line" "$included" \
                'the installed headers are <velkor/host_interface.h> and <velkor/records.h>' ;;
        '"host/'*) # has rooms of the same names
            [ "$allowed" = yes ] ||
                breach "$file" "$line" "$included" "$folder/ knows nothing of the host layer" ;;
        '"'* | '<'*)
            ! names_library "$path" ||
                breach "$file" "$line" "$included" "$folder/ may not look inside the library" ;;
        *) breach "$file" "$line" "$included" 'an include must name its file' ;;
        esac
    done < <(includes_of "$folder")
}

# What an include in brackets, in a file of the host layer, may name.
allowed_outside_host() { # included
    case $1 in
    '<velkor/host_interface.h>' | '<velkor/records.h>' | '<pcap/pcap.h>') ;;
    '<velkor/host/'*'>') [ -e "host/include/${1:1:${#1}-2}" ] ;;
    '<QtCore/'*'>' | '<QtNetwork/'*'>') ;;
    '<'*[!a-z_0-9]*'>') return 1 ;;
    '<'*'>') ;;
    *) return 1 ;;
    esac
}

# A room of the host layer: nothing of the rooms behind it.
check_host_room() { # room, then the rooms it may see
    local room=$1 file line included path seen
    shift
    while IFS=$'\t' read -r file line included; do
        path=${included:1:${#included}-2}
        case $included in
        '"'*/../*'"' | '"../'*'"' | '"./'*'"')
            breach "$file" "$line" "$included" 'write paths from the top of the tree' ;;
        '"host/'*/*'"')
            seen=${path#host/}
            case " $* " in
            *" ${seen%%/*} "*) ;;
            *) breach "$file" "$line" "$included" "host/$room/ may see only: $*" ;;
            esac ;;
        '"'*'"') breach "$file" "$line" "$included" 'the host layer includes "host/ROOM/FILE.h"' ;;
        '<dlfcn.h>' | '<link.h>')
            [ "$room" = driver ] ||
                breach "$file" "$line" "$included" 'the loader is asked by host/driver/ alone' ;;
        '<sys/socket.h>' | '<netinet/in.h>')
            [ "$room" = line ] ||
                breach "$file" "$line" "$included" 'sockets are for host/line/ alone' ;;
        *)
            allowed_outside_host "$included" ||
                breach "$file" "$line" "$included" \
                    'outside itself the host layer sees the installed headers, QtCore, QtNetwork, pcap and C++' ;;
        esac
    done < <(includes_of "host/$room")
}

# The host layer's installed headers: whoever installs them has nothing else.
check_host_headers() {
    local file line included
    while IFS=$'\t' read -r file line included; do
        allowed_outside_host "$included" ||
            breach "$file" "$line" "$included" \
                'an installed header includes installed headers, QtCore, QtNetwork, pcap and C++ only'
    done < <(includes_of host/include)
}

check_host() {
    local folder room visible=
    [ -d host ] || return 0
    for room in "${host_rooms[@]}"; do
        visible="$visible $room"
        # shellcheck disable=SC2086  # the rooms are words
        check_host_room "$room" $visible
    done
    check_host_headers
    for folder in host/*/; do
        folder=${folder#host/}
        case " ${host_rooms[*]} include " in
        *" ${folder%/} "*) ;;
        *)
            echo "host/$folder is no room that tools/check_layers.sh knows: nothing is checked there"
            breaches=$((breaches + 1)) ;;
        esac
    done
}

# A file of the panel: what it may see of the host layer, and of the panel's own rooms.
check_panel_files() { # folder or file, its name, then the rooms it may see
    local where=$1 name=$2 file line included seen
    shift 2
    while IFS=$'\t' read -r file line included; do
        case $included in
        '<velkor/host/'*'>' | '"velkor/'*) ;; # the latter is told by check_outsider
        '<velkor/host_interface.h>' | '<velkor/records.h>')
            breach "$file" "$line" "$included" 'the panel sees the host layer, not the driver' ;;
        '"host/'*)
            breach "$file" "$line" "$included" 'of the host layer the panel sees <velkor/host/...>' ;;
        '"'*/../*'"' | '"../'*'"' | '"./'*'"')
            breach "$file" "$line" "$included" 'write paths from the top of the tree' ;;
        '"panel/host_names.h"') ;;
        '"panel/'*/*'"')
            seen=${included#\"panel/}
            case " $* " in
            *" ${seen%%/*} "*) ;;
            *) breach "$file" "$line" "$included" "panel/$name may see only: $*" ;;
            esac ;;
        esac
    done < <(includes_of "$where")
}

check_panel() {
    local folder room visible=
    [ -d panel ] || return 0
    for room in "${panel_rooms[@]}"; do
        visible="$visible $room"
        # shellcheck disable=SC2086  # the rooms are words
        check_panel_files "panel/$room" "$room" $visible
    done
    for folder in panel/*.cpp panel/*.h; do
        check_panel_files "$folder" "${folder#panel/}" "${panel_rooms[@]}"
    done
    for folder in panel/*/; do
        folder=${folder#panel/}
        case " ${panel_rooms[*]} " in
        *" ${folder%/} "*) ;;
        *)
            [ "$folder" = '*/' ] && continue # there is none
            echo "panel/$folder is no room that tools/check_layers.sh knows: nothing is checked there"
            breaches=$((breaches + 1)) ;;
        esac
    done
}

# A room of host/ or panel/ with more than a dozen files is two rooms.
check_sizes() {
    local folder files
    for folder in host/*/ host/include/velkor/host/ panel/*/; do
        files=("$folder"*)
        if [ -e "${files[0]}" ] && [ "${#files[@]}" -gt 12 ]; then
            echo "$folder has ${#files[@]} files; right are 12 at most"
            breaches=$((breaches + 1))
        fi
    done
}

for layer in "${layers[@]}"; do
    if [ ! -d "$layer" ]; then
        echo "no folder $layer/ in $PWD: nothing would be checked there" >&2
        exit 2
    fi
done

visible=
for layer in "${layers[@]}"; do
    visible="$visible $layer"
    # shellcheck disable=SC2086  # the folders are words
    check_layer "$layer" $visible
done
check_host
check_panel
check_sizes
check_outsider panel yes
check_outsider examples yes
check_outsider plc no

if [ "$breaches" -ne 0 ]; then
    echo "$breaches place(s) break the layers" >&2
    exit 1
fi
