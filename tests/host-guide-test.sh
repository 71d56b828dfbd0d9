#!/usr/bin/env bash
# Follows docs/imagery-host.md: the server that it describes, with the imagery of its one command, fills a display.
#   host-guide-test.sh BUILD
set -euo pipefail
build=$(cd "$1" && pwd)
guide=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/docs/imagery-host.md
work=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null || true; rm -rf "$work"' EXIT

# The guide's command, only small, since drawing is not what is tried here.
read -ra draw < <(sed -n 's|^    \(corvella-sun host .*\) /srv/sun$|\1|p' "$guide")
"$build/bin/${draw[0]}" "${draw[@]:1}" --size 64 --frames 2 --products 171,dem "$work/sun"

openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=localhost \
    -addext subjectAltName=DNS:localhost -keyout "$work/key.pem" -out "$work/cert.pem" 2>/dev/null
listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
port=$((20000 + RANDOM % 10000))
while listens "$port"; do port=$((port + 1)); done
block=$(sed -n '/^```nginx$/,/^```$/p' "$guide" | grep -v '^```' |
    sed -e "s|listen 443|listen 127.0.0.1:$port|" -e "s|sun.museum.example;|localhost;|" -e "s|/srv/sun|$work/sun|" \
        -e "s|/etc/ssl/.*\.pem|$work/cert.pem|" -e "s|/etc/ssl/private/.*\.key|$work/key.pem|")
[ -n "$block" ]
cat >"$work/nginx.conf" <<CONF
daemon off; master_process off; pid $work/nginx.pid; error_log $work/error.log;
events {}
http {
    access_log $work/access.log; client_body_temp_path $work/body; proxy_temp_path $work/proxy;
    fastcgi_temp_path $work/fastcgi; uwsgi_temp_path $work/uwsgi; scgi_temp_path $work/scgi;
    $block
}
CONF
/usr/sbin/nginx -p "$work" -e "$work/error.log" -c "$work/nginx.conf" &
server=$!
until listens "$port"; do
    kill -0 "$server" || { cat "$work/error.log"; exit 1; }
    sleep 0.02
done

export SSL_CERT_FILE=$work/cert.pem XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache XDG_DATA_HOME=$work/data
"$build/bin/corvella-defaults" write imageryHost "localhost:$port"
"$build/bin/corvella-defaults" write products -array all
"$build/bin/corvella" --prime 2>"$work/messages"
cat "$work/messages"

# What the host has lies in the cache, byte for byte, and is listed.
cmp "$work/sun/video/171_1k.mp4" "$work/cache/Corvella/171.mp4"
cmp "$work/sun/img/dem_1k.png" "$work/cache/Corvella/dem.png"
grep -q '"video": "dem.mp4"' "$work/cache/Corvella/manifest.json"
grep -q 'pass: checked, 2 clips moved' "$work/messages"

# A second check costs one request without a body.
: >"$work/access.log"
"$build/bin/corvella-defaults" delete lastCheck
"$build/bin/corvella" --refresh 2>/dev/null
[ "$(wc -l <"$work/access.log")" -eq 1 ]
grep -q '"GET /manifest/index.json HTTP/1.1" 304 0' "$work/access.log"
