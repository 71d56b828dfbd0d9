#!/usr/bin/env bash
# Packages and bundles of one build are alike, byte for byte, whoever makes them, wherever and whenever.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
fail() { echo "$*"; failed=1; }

# What a build installs, in small: any program will do.
tree=$work/one/tree
mkdir -p "$tree"/{bin,lib/corvella,share/man/man1,share/corvella/PlugIns/Corvella.saver/Contents/bin}
for program in bin/corvella bin/corvella-defaults lib/corvella/corvella-gsettings lib/corvella/corvella-clips-1.2.3 \
    share/corvella/PlugIns/Corvella.saver/Contents/bin/corvella-saver; do
    cp "$(type -P true)" "$tree/$program"
done
cp packaging/man/*.1 "$tree/share/man/man1/"
cp packaging/launcher "$tree/share/corvella/"
printf '{\n    "version": "1.2.3",\n    "build": 7,\n    "machine": "linux-any"\n}\n' >"$tree/share/corvella/build.json"
find "$tree" -exec touch -d 2001-02-03 {} +
# The same elsewhere, of another day, by somebody whose files nobody else may read.
mkdir -p "$work/another place/tmp"
cp -R "$tree" "$work/another place/tree"
chmod -R go= "$work/another place"
openssl genpkey -algorithm ed25519 -out "$work/key.pem"

make_both() {
    packaging/make-deb --tree "$1/tree" "$1/deb" >/dev/null
    packaging/make-update --tree "$1/tree" --key "$work/key.pem" --url https://updates.example --out "$1/update" >/dev/null
}
make_both "$work/one"
(umask 077 && TZ=Pacific/Kiritimati LC_ALL=C.UTF-8 TMPDIR="$work/another place/tmp" make_both "$work/another place")
package=$(echo "$work"/one/deb/*.deb)
cmp "$package" "$work/another place/deb/${package##*/}" || fail "two packages of one build"
bundle=corvella-1.2.3-7-linux-any.tar.gz
cmp "$work/one/update/$bundle" "$work/another place/update/$bundle" || fail "two bundles of one build"

# What a build of another version has left in its tree would have to run wherever the bundle is installed.
cp -R "$tree" "$work/stale"
cp "$(type -P true)" "$work/stale/lib/corvella/corvella-clips-1.2.2"
packaging/make-update --tree "$work/stale" --key "$work/key.pem" --url https://updates.example --out "$work/stale/update" 2>/dev/null &&
    fail "a bundle with two programs that read clips"

# A bundle is verified by hand as docs/releasing.md tells.
cp "$work/key.pem" "$work/one/update/corvella-updates.pem"
verify=$(sed -nE 's/^    ((openssl pkey .*public\.pem|sed -nE|openssl pkeyutl -verify).*)/\1/p' docs/releasing.md |
    sed 's/corvella-[0-9][a-z0-9_.-]*\.\(tar\|item\)/corvella-1.2.3-7-linux-any.\1/')
[ "$(wc -l <<<"$verify")" -eq 3 ] || fail "docs/releasing.md has lost how a bundle is verified"
(cd "$work/one/update" && bash -euo pipefail -c "$verify" >/dev/null) || fail "a bundle does not verify by hand"

# All may read what the package brings, and it says itself what that is.
[ "${package##*/}" = "corvella_1.2.3_$(dpkg --print-architecture).deb" ] || fail "the package is called $package"
dpkg-deb -R "$package" "$work/unpacked"
private=$(find "$work/unpacked/usr" ! -type l ! -perm -u=rw,go=r)
[ -z "$private" ] || fail "not for all to read: $private"
(cd "$work/unpacked" && md5sum --quiet -c DEBIAN/md5sums) || fail "its sums"
size=$(sed -n 's/^Installed-Size: //p' "$work/unpacked/DEBIAN/control")
bytes=$(find "$work/unpacked/usr" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')
entries=$(find "$work/unpacked/usr" | wc -l)
[ "$size" -ge $((bytes / 1024)) ] && [ "$size" -le $((bytes / 1024 + entries)) ] || fail "it is $bytes bytes, and says $size KiB"
# Programs lie outside of share, and every link leads somewhere.
misplaced=$(find "$work/unpacked/usr/share" -type f -exec sh -c 'head -c 4 "$1" | grep -q ELF' _ {} \; -print)
[ -z "$misplaced" ] || fail "a program below share: $misplaced"
dangling=$(find "$work/unpacked/usr" -xtype l)
[ -z "$dangling" ] || fail "a link to nowhere: $dangling"
[ -x "$work/unpacked/usr/libexec/xscreensaver/corvella-saver" ] || fail "the screen savers' link"
[ -x "$work/unpacked/usr/share/corvella/PlugIns/Corvella.saver/Contents/bin/corvella-saver" ] || fail "the saver's bundle"

# The pages that come with it name no page that does not.
while IFS=: read -r page target; do
    [ -e "$(dirname "$page")/$target" ] || fail "$page: there is no $target"
done < <(grep -oHE '\]\([^):#]+' "$work"/unpacked/usr/share/doc/corvella/*.md | sed 's/](//')
exit $failed
