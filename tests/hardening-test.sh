#!/usr/bin/env bash
# Each program and module of a build has what makes its faults hard to use.
#   hardening-test.sh BUILD
set -euo pipefail
build=$(cd "$1" && pwd)
case $(uname -m) in
x86_64) branches=-fcf-protection=full ;;
aarch64) branches=-mbranch-protection=standard ;;
*) branches= ;;
esac
failed=0
fail() { echo "$*"; failed=1; }
mapfile -t binaries < <(find "$build/bin" "$build/lib/corvella" "$build/share/corvella" -type f \
    -exec sh -c 'head -c 4 "$1" | grep -q ELF' _ {} \; -print)
[ "${#binaries[@]}" -ge 5 ] || fail "only ${#binaries[@]} binaries in $build"
for binary in "${binaries[@]}"; do
    name=${binary#"$build"/}
    headers=$(readelf -hlW "$binary") dynamic=$(readelf -dW "$binary") symbols=$(readelf --dyn-syms -W "$binary")
    grep -q 'Type: *DYN' <<<"$headers" || fail "$name: not at any address"
    grep -q GNU_RELRO <<<"$headers" || fail "$name: its tables of addresses can be written to"
    grep -qE 'BIND_NOW|NOW' <<<"$dynamic" || fail "$name: addresses are looked up late"
    grep -qE 'GNU_STACK .* RW ' <<<"$headers" || fail "$name: code can run on its stack"
    ! grep -qE ' RWE ' <<<"$headers" || fail "$name: something can be both written and run"
    ! grep -qE 'R(UN)?PATH' <<<"$dynamic" || fail "$name: looks for libraries in a folder of its own"
    grep -q '__stack_chk_fail' <<<"$symbols" || fail "$name: an overrun of the stack goes unnoticed"
    # What leaves no trace in the code to look for is in the words of the compiler, for each of its runs.
    runs=$(readelf --debug-dump=info --dwarf-depth=1 "$binary" 2>/dev/null | grep -a DW_AT_producer) || fail "$name: who made it?"
    for flag in -fstack-protector-strong -fstack-clash-protection $branches; do
        ! grep -qvF -e "$flag" <<<"$runs" || fail "$name: made in part without $flag"
    done
done
# The bounds of the C library's copying functions are checked where it can.
grep -qE '__(memcpy|read|snprintf|fprintf|vsnprintf|memmove|poll)_chk' <<<"$(readelf --dyn-syms -W "$build/bin/corvella")" ||
    fail "corvella: the C library checks no bounds"
exit $failed
