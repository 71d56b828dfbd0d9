#!/usr/bin/env bash
# make-trust.sh KEY.pem SOURCE.cpp: a pair of keys for the tests, made on this machine for this build tree, and the source
# that has a program trust it. It takes the place of main/updater/UpdateTrust.cpp.
set -euo pipefail
[ -f "$1" ] || (umask 077 && openssl genpkey -algorithm ed25519 -out "$1")
cat >"$2" <<SOURCE
#include "updater/UpdateTrust.h"

namespace corvella::UpdateTrust {

QString feed()
{
    return QStringLiteral("https://localhost:1/appcast.xml");
}

QByteArray key()
{
    return QByteArrayLiteral("$(openssl pkey -in "$1" -pubout -outform DER | tail -c 32 | base64)");
}

} // namespace corvella::UpdateTrust
SOURCE
