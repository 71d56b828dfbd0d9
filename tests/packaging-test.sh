#!/usr/bin/env bash
# What a desktop and a shell read of an installed copy holds to their rules.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
failed=0
fail() { echo "$*"; failed=1; }

desktop-file-validate packaging/space.tarrow.corvella.desktop || fail "the desktop file"
appstreamcli validate --no-net packaging/space.tarrow.corvella.metainfo.xml || fail "the AppStream description"

# No page has a macro or an escape that man does not know.
for page in packaging/man/*.1; do
    complaints=$(groff -man -ww -Tutf8 -Kutf8 -z "$page" 2>&1)
    [ -z "$complaints" ] || fail "$page: $complaints"
done

# What the completion of a command line offers after these words.
offers() {
    bash -c '. packaging/completions/corvella.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
        function=$(complete -p "$1" | sed -E "s/.*-F ([^ ]+).*/\1/"); "$function" "$1" "${@: -1}"
        echo "${COMPREPLY[*]}"' _ "$@"
}
[ "$(offers corvella --s)" = "--start --seconds --selftest" ] || fail "completion of an option"
[ "$(offers corvella --action up)" = "update-desktop" ] || fail "completion of an action"
[ "$(offers corvella-defaults write tr)" = "transition" ] || fail "completion of a setting"
[ "$(offers corvella-defaults write mode k)" = "kiosk" ] || fail "completion of a mode"
[ "$(offers corvella-defaults write products -array 17)" = "171 1700" ] || fail "completion of a product"
[ "$(offers corvella-sun ho)" = "host" ] || fail "completion of a command"

# The page of settings and the completion know the same ones, and all that the guides speak of.
listed=$(sed -n '/^\.SH SETTINGS/,/^\.SH EXAMPLES/{/^\.BR\? /{s/^\.BR\? //;s/[",]/ /g;p}}' packaging/man/corvella-defaults.1 | xargs -n1 | sort)
completed=$(offers corvella-defaults write '' | xargs -n1 | sort)
[ "$listed" = "$completed" ] || fail "settings differ: $(diff <(echo "$listed") <(echo "$completed"))"
for setting in $(grep -ohE 'corvella-defaults (write|delete|read) [a-zA-Z]+' README.md docs/*.md | cut -d' ' -f3) \
    $(sed -n '/^```json/,/^```/p' docs/guide.md | cat - packaging/kiosk/settings.json | grep -oE '"[a-zA-Z]+":' | tr -d '":'); do
    grep -qx "$setting" <<<"$listed" || fail "the page of settings does not know $setting"
done

# The feed lists the newest first.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
openssl genpkey -algorithm ed25519 -out "$work/key.pem"
for version in 1.2.0-9 1.10.0-11 1.9.0-10; do
    echo "<item>$version</item>" >"$work/corvella-$version-linux-x86_64.item"
done
packaging/sign-feed --key "$work/key.pem" --out "$work"
[ "$(grep -o '<item>.*</item>' "$work/appcast.xml" | tr -d '\n')" = \
    "<item>1.10.0-11</item><item>1.9.0-10</item><item>1.2.0-9</item>" ] || fail "the order of the feed"

# The icon of the desktop file is there in every size, and is of that size.
for size in 16 22 24 32 48 64 128 256 512; do
    picture=resources/icons/hicolor/${size}x$size/apps/space.tarrow.corvella.png
    [ "$(identify -format '%wx%h' "$picture")" = "${size}x$size" ] || fail "$picture"
done
# Desktops colour the fills of a symbol, and leave its strokes as they are: dark on the dark.
symbol=resources/icons/hicolor/symbolic/apps/space.tarrow.corvella-symbolic.svg
! grep -q 'stroke\|fill="none"' "$symbol" || fail "$symbol: not coloured everywhere"
exit $failed
