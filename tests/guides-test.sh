#!/usr/bin/env bash
# Follows docs/guide.md and docs/kiosk.md: what they tell to type works, and does what they say.
#   guides-test.sh BUILD
set -euo pipefail
build=$(cd "$1" && pwd)
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
fail() { echo "$*"; failed=1; }
export PATH=$build/bin:$PATH HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_CONFIG_DIRS=$work/etc/xdg
export XDG_CACHE_HOME=$work/cache XDG_DATA_HOME=$work/data
mkdir -p "$HOME" "$work/etc/xdg"
is() {
    local value
    value=$(corvella-defaults read "$1") || fail "$1 is not set"
    [ "$value" = "$2" ] || fail "$1 is $value, not $2"
}
# The commands of a guide: its indented lines.
commands() { sed -n 's/^    *\([a-z].*\)$/\1/p' "$top/docs/$1"; }

# The file for many machines is one that the program reads.
sed -n '/^```json$/,/^```$/p' "$top/docs/guide.md" | grep -v '^```' >"$work/etc/xdg/space.tarrow.corvella.json"
is configured true
is mode wall
is products '["all","171,193","304"]'
is imageryHost sun.museum.example
is refreshMinutes 720
rm "$work/etc/xdg/space.tarrow.corvella.json"

# Every change of a setting, as it stands there.
mapfile -t changes < <(commands guide.md | grep '^corvella-defaults write')
[ "${#changes[@]}" -ge 9 ] || fail "the guide has lost its settings"
for change in "${changes[@]}"; do
    bash -c "$change" || fail "$change"
done
is products '["171,304","rainbow","off"]'
is mode wall
is configured true
is transition crossfade
is loops 3
is shuffle true
is attribution true
is storeHost sun.museum.example
corvella-defaults delete loops
[ -z "$(corvella-defaults read loops 2>/dev/null)" ] || fail "loops is still set"
corvella --selftest >/dev/null || fail "corvella --selftest"

# The steps for a machine of its own that copy files, into a root of our own.
cd "$top/packaging/kiosk"
mapfile -t copies < <(commands kiosk.md | sed -n 's/^sudo \(install .*\)$/\1/p')
[ "${#copies[@]}" -ge 5 ] || fail "the steps have lost their files"
mkdir -p "$work/etc/systemd/system"
for copy in "${copies[@]}"; do
    bash -c "${copy// \/etc\// $work\/etc\/}" || fail "$copy"
done
corvella-defaults delete mode
is mode kiosk
for file in corvella-kiosk/sway.conf systemd/system/corvella-kiosk.service sysctl.d/corvella-kiosk.conf \
    systemd/logind.conf.d/corvella-kiosk.conf systemd/system/corvella-kiosk.service.d/one-screen.conf; do
    [ -f "$work/etc/$file" ] || fail "no step brings /etc/$file"
done
# What the service starts is where the steps put it.
# However it ends, and however often, it is started again.
for line in Restart=always StartLimitIntervalSec=0; do
    grep -qx "$line" "$work/etc/systemd/system/corvella-kiosk.service" || fail "the kiosk's unit has no $line"
done
grep -q "^ExecStart=sway --config /etc/corvella-kiosk/sway.conf$" "$work/etc/systemd/system/corvella-kiosk.service" ||
    fail "the service starts something else"
# It follows logind, without which its compositor shows nothing, and does not wait for one that waits for logind.
for line in PartOf=systemd-logind.service After=.*systemd-logind.service Restart=always TimeoutStopSec=5; do
    grep -q "^$line\b" "$work/etc/systemd/system/corvella-kiosk.service" || fail "the service lacks $line"
done
exit $failed
