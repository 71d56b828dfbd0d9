#!/usr/bin/env bash
# make-builds.sh BUILD PROGRAM OUT: two builds of the program with different numbers, as two releases are, from one build
# tree: OUT/1 and OUT/2. Every program and library of theirs differs, so that a mixture could be told.
set -euo pipefail
tree=$1 program=$2 out=$3
rm -rf "$out/1" "$out/2"
for build in 1 2; do
    folder=$out/$build
    mkdir -p "$folder/bin" "$folder/lib/corvella" "$folder/share"
    cp -R "$tree/share/corvella" "$folder/share/"
    sed -i -E "s/(\"version\": )\"[^\"]*\"/\\1\"1.$build.0\"/; s/(\"build\": )[0-9]+/\\1$build/" \
        "$folder/share/corvella/build.json"
    echo "build $build" >"$folder/which"
    for file in "$program:bin/corvella" "$tree/bin/corvella-defaults:bin/corvella-defaults" \
        "$tree"/lib/corvella/*.so; do
        target=${file#*:}
        [ "$target" != "$file" ] || target=lib/corvella/$(basename "$file")
        strip --strip-unneeded -o "$folder/$target" "${file%%:*}"
        objcopy --add-section .build="$folder/which" "$folder/$target"
    done
    rm "$folder/which"
done
