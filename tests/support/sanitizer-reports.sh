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
    if [ -n "$(ls -A "$folder")" ]; then
        cat "$folder"/*
        exit 1
    fi
    ;;
esac
