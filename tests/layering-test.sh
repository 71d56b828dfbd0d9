#!/usr/bin/env bash
# Fails on an include that runs up or across the house: each part of main/ may use itself and what stands below it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../main"

# What each part may include, besides itself. Parts of the platform are named with their folder.
declare -A allowed=(
    [log]=""
    [platform/storage]="log"
    [platform/net]=""
    [platform/time]=""
    [platform/threads]="log"
    [platform/video]="log platform/storage platform/time"
    [platform/video/ffmpeg]="log platform/storage platform/video"
    [platform/layers]="log platform/time platform/video"
    [platform/session]="log platform/storage"
    [platform/pictures]="log platform/storage platform/session"
    [platform/pictures/gsettings]=""
    [platform/symbols]=""
    [platform/update]="log platform/net platform/storage platform/threads"
    [settings]="log platform"
    [cache]="log platform settings"
    [Wall]="log platform settings cache"
    [desktop]="log platform settings cache"
    [updater]="log platform settings"
    [Preferences]="log platform settings cache updater Wall desktop"
    [shell]="log platform settings cache updater Wall desktop Preferences"
)

failures=0
complain() {
    echo "$1"
    failures=$((failures + 1))
}

# The part that a file or an include belongs to: "log", "settings", "platform/video", ...
part_of() {
    case $1 in
        platform/*/*) echo "${1%/*}" ;;
        */*) echo "${1%%/*}" ;;
        *) echo "${1%.*}" ;;
    esac
}

for file in $(git ls-files --cached --others --exclude-standard '*.h' '*.cpp' | grep -v '^main.cpp$'); do
    part=$(part_of "$file")
    if [ -z "${allowed[$part]+known}" ]; then
        complain "$file: the part $part is not in the list of layers"
        continue
    fi
    while read -r included; do
        target=$(part_of "$included")
        [ "$target" != "$part" ] || continue
        [ "$target" != platform/video/ffmpeg ] || complain "$file includes $included, which is a program of its own"
        [[ " ${allowed[$part]} " == *" $target "* || " ${allowed[$part]} " == *" ${target%%/*} "* ]] \
            || complain "$file includes $included: $part must not use $target"
    done < <(sed -n 's/^#include "\(.*\)"$/\1/p' "$file")
    case $file in
        platform/video/ffmpeg/*) ;;
        *) if grep -nE '#include <lib(av|sw)' "$file"; then
            complain "$file speaks to FFmpeg past the module that is loaded for it"
        fi ;;
    esac
    case $file in
        platform/*) ;;
        *) if grep -nE '#include <(xcb|X11|wayland|QDBus|curl|sodium|archive)' "$file"; then
            complain "$file speaks to the system past the platform"
        fi ;;
    esac
done
[ "$failures" -eq 0 ] || exit 1
echo "every include runs down"
