#!/usr/bin/env bash
# What a sanitizer reported in any process of the tests lies in one folder: `forget FOLDER` makes it anew, `show FOLDER`
# fails where there is a report.
set -euo pipefail
folder=$2
case $1 in
forget)
    rm -rf "$folder"
    mkdir -m 1777 "$folder" # programs that a test starts as another user report, too
    ;;
show)
    # Besides, the leak checker says there what it could not look at.
    mapfile -t reports < <(grep -lE 'ERROR: |WARNING: |runtime error: ' -r "$folder")
    [ "${#reports[@]}" -eq 0 ] || {
        head -n -0 -- "${reports[@]}"
        exit 1
    }
    ;;
esac
