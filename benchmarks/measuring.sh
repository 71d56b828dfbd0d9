# Shared by the measurements: a display, the players, and what a program and all that it started cost.
# Sourced, not run; the caller has sourced tools/setup.sh. All is measured the same way for every program.

measuring_packages="$virtual_display_packages openbox dbus-daemon x11-xserver-utils procps util-linux"
peer_packages="mpv vlc-bin vlc-plugin-base vlc-plugin-video-output ffmpeg gstreamer1.0-tools gstreamer1.0-libav
    gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-x xscreensaver xscreensaver-data xscreensaver-gl"

bin=$top/build/bin
clip=$top/resources/seed.mp4
settling=4 # s from a program's start to where it is measured
rounds=3

work=$(mktemp -d)
chmod 755 "$work" # a player that is not run as root reads its clip here
leave() {
    kill $(jobs -p) 2>/dev/null || true
    stop_display
    rm -rf "$work"
}
trap leave EXIT

# A virtual display of so many monitors of that size side by side, with a window manager and a session's bus.
start_display() {
    local width=$1 height=$2 monitors=${3:-1} i
    stop_display
    : >"$work/display"
    Xvfb -displayfd 3 -screen 0 "$((width * monitors))x${height}x24" -noreset -nolisten tcp \
        3>"$work/display" 2>/dev/null &
    server=$!
    while [ ! -s "$work/display" ]; do sleep 0.05; done
    export DISPLAY=:$(cat "$work/display") QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR=$work/runtime
    unset WAYLAND_DISPLAY
    mkdir -p -m 700 "$XDG_RUNTIME_DIR"
    if [ "$monitors" -gt 1 ]; then
        for ((i = 0; i < monitors; i++)); do
            xrandr --setmonitor "monitor$i" "$width/500x$height/280+$((i * width))+0" \
                "$([ "$i" -eq 0 ] && echo screen || echo none)" >/dev/null
        done
    fi
    exec 4< <(exec dbus-daemon --session --nofork --nopidfile --print-address 2>/dev/null)
    bus=$!
    read -r DBUS_SESSION_BUS_ADDRESS <&4
    export DBUS_SESSION_BUS_ADDRESS
    openbox >/dev/null 2>&1 &
    sleep 1
}

stop_display() {
    [ -n "${server:-}" ] || return 0
    kill "$server" "$bus" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
    server=
}

# Sets `command` to what plays the clip over and over at half speed, in whatever is the least that the player can do.
player() {
    local height=${2:-1080}
    case $1 in
        corvella) command=("$bin/corvella" --start) ;;
        mpv) command=(mpv --no-config --fs --speed=0.5 --no-audio --hwdec=no --loop-file=inf --vo=x11
            --profile=sw-fast "$clip") ;;
        mpv-gpu) command=(mpv --no-config --fs --speed=0.5 --no-audio --hwdec=no --loop-file=inf "$clip") ;;
        vlc)
            # It refuses to be run as root.
            cp -n "$clip" "$work/clip.mp4"
            command=(vlc -I dummy --no-audio --vout xcb_x11 --rate 0.5 --loop --fullscreen
                --no-video-title-show --no-osd "$work/clip.mp4")
            [ "$(id -u)" -ne 0 ] ||
                command=(setpriv --reuid=65534 --regid=65534 --clear-groups env HOME=/nonexistent "${command[@]}") ;;
        gstreamer)
            # It has no loop, and its pipelines run at one speed: the clip is as long as is needed, the pictures are retimed.
            [ -f "$work/long.mp4" ] || ffmpeg -v error -stream_loop 9 -i "$clip" -c copy "$work/long.mp4"
            command=(gst-launch-1.0 -q filesrc location="$work/long.mp4" ! qtdemux ! avdec_h264 max-threads=1 !
                videorate rate=0.5 ! video/x-raw,framerate=15/1 ! videoscale !
                "video/x-raw,width=$height,height=$height" ! videoconvert ! ximagesink) ;;
        decoding) command=(ffmpeg -nostdin -threads 1 -readrate 0.5 -stream_loop -1 -i "$clip" -f null -) ;;
        *) command=("/usr/libexec/xscreensaver/$1" --root) ;;
    esac
}

# The process and all that it and they have started.
tree() {
    cat /proc/[0-9]*/stat 2>/dev/null | sed 's/(.*)/-/' | awk -v top="$1" '
        { parent[$1] = $4 }
        END {
            for (process in parent) {
                for (p = process; p in parent && p != top; p = parent[p]);
                if (p == top) print process
            }
        }'
}

# Seconds of CPU that processes have taken, with those of their children that have ended: a player may start others.
cpu_of() {
    local process
    for process in "$@"; do sed 's/.*) //' "/proc/$process/stat" 2>/dev/null || true; done |
        awk -v hz="$(getconf CLK_TCK)" '{ sum += $12 + $13 + $14 + $15 } END { print sum / hz }'
}

# MB of memory in proportion to who shares them, and MB that only these processes have.
memory_of() {
    local process
    for process in "$@"; do cat "/proc/$process/smaps_rollup" 2>/dev/null || true; done | awk '
        $1 == "Pss:" { pss += $2 }
        $1 ~ /^Private_(Clean|Dirty):/ { private += $2 }
        END { print pss / 1024, private / 1024 }'
}

# MB of the X server: its own, in which its clients' pixmaps are, and its share of the pictures that they share with it. (What
# it tells of pixmaps counts the shared ones, too.)
memory_at_server() {
    awk '$1 == "Pss_Anon:" || $1 == "Pss_Shmem:" { sum += $2 } END { print sum / 1024 }' "/proc/$server/smaps_rollup"
}

# Runs a command, and once it has settled notes for some seconds what it and all that it started take. Appends a line to
# the file: percent of a core, the same with what the X server does for it, MB of memory with what the X server holds for
# it, MB that are private to it.
measure_cost() {
    local file=$1 seconds=$2 process start from from_server memory_before
    shift 2
    memory_before=$(memory_at_server)
    "$@" >/dev/null 2>&1 &
    process=$!
    sleep "$settling"
    start=$EPOCHREALTIME from=$(cpu_of $(tree "$process")) from_server=$(cpu_of "$server")
    sleep "$seconds"
    echo "$start $EPOCHREALTIME $from $(cpu_of $(tree "$process")) $from_server $(cpu_of "$server") \
        $(memory_of $(tree "$process")) $memory_before $(memory_at_server)" | awk '{
            cpu = 100 * ($4 - $3) / ($2 - $1); atServer = 100 * ($6 - $5) / ($2 - $1)
            print cpu, cpu + atServer, $7 + $10 - $9, $8 }' >>"$file"
    kill "$process"
    wait "$process" 2>/dev/null || true
    sleep 0.5
}

# The median of a file's column, and of the ratios of two files' columns.
median() { sort -g | awk '{ line[NR] = $1 } END { print line[int((NR + 1) / 2)] }'; }
column() { awk -v column="$2" '{ print $column }' "$1" | median; }
ratio() { paste -d ' ' <(awk -v c="$3" '{ print $c }' "$1") <(awk -v c="$3" '{ print $c }' "$2") | awk '{ print $1 / $2 }' | median; }

# Settings of our own, fresh, in that mode, with nothing to fetch.
use_settings() {
    export XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache XDG_DATA_HOME=$work/data
    rm -rf "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME"
    mkdir -p "$XDG_CONFIG_HOME"
    "$bin/corvella-defaults" write mode "$1"
    "$bin/corvella-defaults" write configured -bool true
    "$bin/corvella-defaults" write offline -bool true
    "$bin/corvella-defaults" write products -array all
}
