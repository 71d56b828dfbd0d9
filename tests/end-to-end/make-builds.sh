#!/usr/bin/env bash
# make-builds.sh BUILD PROGRAM OUT: two builds of the program with different numbers, as two releases are, from one build
# tree: OUT/1 and OUT/2. Every program and library of theirs differs, so that a mixture could be told. Beside them lies
# what their maker would serve, OUT/served-1 and OUT/served-2, signed with OUT/key.pem.
set -euo pipefail
packaging=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../packaging" && pwd)
tree=$1 program=$2 out=$3
rm -rf "$out"/{1,2,served-1,served-2}
echo 'Sharper loops & <more>' >"$out/notes"
for build in 1 2; do
    folder=$out/$build
    mkdir -p "$folder/bin" "$folder/lib/corvella" "$folder/share"
    cp -R "$tree/share/corvella" "$folder/share/"
    sed -i -E "s/(\"version\": )\"[^\"]*\"/\\1\"1.$build.0\"/; s/(\"build\": )[0-9]+/\\1$build/" \
        "$folder/share/corvella/build.json"
    echo "build $build" >"$folder/which"
    cp "$program" "$folder/bin/corvella"
    cp "$tree/bin/corvella-defaults" "$folder/bin/"
    cp "$tree"/lib/corvella/* "$folder/lib/corvella/"
    find "$folder" -type f -exec sh -c 'head -c 4 "$1" | grep -q ELF' _ {} \; -print | while read -r file; do
        strip --strip-unneeded "$file"
        objcopy --add-section .build="$folder/which" "$file"
    done
    rm "$folder/which"
    "$packaging/make-update" --tree "$folder" --key "$out/key.pem" --url https://updates.example --notes "$out/notes" \
        --out "$out/served-$build"
done
