#!/usr/bin/env bash
# docs/security.md speaks of tests and files that are there, and no program is started by way of a shell.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
failed=0
fail() { echo "$*"; failed=1; }
page=docs/security.md

# Each test that it names is one of the sources', by its own name or that of its table, or one of the lists'.
mapfile -t named < <(grep -oE '`[A-Z][A-Za-z0-9]*\.[A-Z][A-Za-z0-9]+`' "$page" | tr -d '`' | sort -u)
[ "${#named[@]}" -ge 50 ] || fail "$page names only ${#named[@]} tests"
declared=$(cat $(find tests -name '*.cpp') | tr '\n' ' ' | grep -oE 'TEST(_F|_P)?\( *[A-Za-z0-9]+, *[A-Za-z0-9]+ *\)' |
    sed -E 's/.*\( *([A-Za-z0-9]+), *([A-Za-z0-9]+) *\)/\1.\2/')
for name in "${named[@]}"; do
    grep -qxF "$name" <<<"$declared" || fail "$page: there is no test $name"
done
for name in $(sed -nE 's/^\|.*\|([^|]*)\|$/\1/p' "$page" | grep -oE '`[a-z-]+`' | tr -d '`'); do
    grep -q "add_test(NAME $name " tests/CMakeLists.txt || fail "$page: there is no test $name"
done
# Each row has its test.
while read -r row; do
    fail "$page: no test for: $row"
done < <(sed -nE 's/^\| ([^|]*) \|.*\| *\|$/\1/p' "$page")
# Each class that it names is one of the sources'.
for name in $(sed -nE 's/^\|[^|]*\|([^|]*)\|.*/\1/p' "$page" | grep -oE '`[A-Z][A-Za-z0-9]+`' | tr -d '`'); do
    [ -n "$(find main -name "$name.*")" ] || fail "$page: there is no $name"
done

# Nothing that hands a line to a shell, or takes one apart; no temporary file where others have theirs.
! grep -rnE '\b(system|popen|wordexp|execlp|execvp) *\(|startCommand|splitCommand|"(ba|da)?sh"|/bin/sh|mktemp|tmpnam|QTemporary|tempPath|"/(var/)?tmp' \
    main saver tools --include='*.cpp' --include='*.h' --include='*.c' | grep -v 'QRandomGenerator::system()' ||
    fail "a shell, or a file in a shared folder"

# The kiosk's unit stays confined. Version 252 says 1.8.
exposure=$(LC_ALL=C systemd-analyze security --offline=yes --threshold=20 packaging/kiosk/corvella-kiosk.service 2>&1) ||
    fail "the kiosk's unit: $(tail -n 1 <<<"$exposure")"
# It mounts nothing, and has no program do so that runs as another user.
for closed in SystemCallFilter=~@mount CapabilityBoundingSet=~CAP_SYS_ADMIN NoNewPrivileges=; do
    grep -qF "+ $closed " <<<"$exposure" || fail "the kiosk's unit leaves open: $closed"
done
# Nor does anything come with the packages of its guide, as far as apt knows, that mounts a disk by itself or for whoever asks.
packages=$(sed -nE 's/^ +sudo apt install ([a-z].*)/\1/p' docs/kiosk.md | head -n 1)
brought=$(apt-cache depends --recurse --no-{suggests,conflicts,breaks,replaces,enhances} $packages 2>/dev/null || true)
grep -qx swaybg <<<"$brought" || fail "the kiosk's packages: $packages"
! grep -xE 'udisks2|udiskie|udevil|gvfs|autofs|pmount|usbmount' <<<"$brought" || fail "a package of the kiosk's mounts disks"
exit $failed
