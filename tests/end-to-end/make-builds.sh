#!/usr/bin/env bash
# make-builds.sh TREE PROGRAM KEY.pem OUT NUMBER...: builds of the program with these numbers, as releases are, from one
# build tree: OUT/NUMBER. Every program and library of theirs differs, so that a mixture could be told. Beside each lies
# what its maker would serve, OUT/served-NUMBER, signed with the key.
set -euo pipefail
packaging=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../packaging" && pwd)
tree=$1 program=$2 key=$3 out=$4
shift 4
echo 'Sharper loops & <more>' >"$out/notes"
for build; do
    folder=$out/$build
    rm -rf "$folder" "$out/served-$build"
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
    "$packaging/make-update" --tree "$folder" --key "$key" --url https://updates.example --notes "$out/notes" \
        --out "$out/served-$build"
done
