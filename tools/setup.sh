# Shared by ./run and ./test: installs what is missing from Debian, configures and builds.
# Sourced, not run; the caller has set `top` to the checkout's root.

# What the program is built from and needs at run time.
build_packages="g++ cmake ninja-build pkg-config ccache qt6-base-dev qt6-base-private-dev qt6-wayland
    libqt6opengl6-dev libgl-dev libegl-dev libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libseccomp-dev
    libcurl4-openssl-dev ca-certificates libxcb1-dev libxcb-dpms0-dev libxcb-screensaver0-dev
    libxcb-shape0-dev libxcb-xfixes0-dev libqrcodegencpp-dev libsodium-dev libarchive-dev libwayland-dev libwayland-bin
    wayland-protocols plasma-wayland-protocols libglib2.0-dev libgl1-mesa-dri fonts-dejavu-core"
# A display where there is none, and a picture of it.
virtual_display_packages="xvfb imagemagick"
# The real servers, managers and tools that the tests run the program against.
test_packages="libgtest-dev libgmock-dev $virtual_display_packages xserver-xorg-core
    xserver-xorg-video-dummy x11-xserver-utils xdotool libxcb-res0-dev libxcb-xtest0-dev openbox sway swayidle grim wtype dbus-daemon at-spi2-core
    libssl-dev openssl libzbar-dev nginx xscreensaver
    swaybg dconf-service dconf-gsettings-backend dconf-cli gsettings-desktop-schemas mate-desktop-common
    cinnamon-desktop-data xfconf libxfconf-0-3 pcmanfm-qt duktape x11-utils
    desktop-file-utils appstream groff-base dpkg-dev util-linux procps"

# Whole desktops, for tests that ./test --all runs besides.
desktop_packages="xfdesktop4 mate-settings-daemon"

say() { printf '== %s\n' "$*"; }

# Prints those of the given packages that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) in
            installed) ;;
            *) printf '%s\n' "$package" ;;
        esac
    done
}

# Installs the given packages where they are missing; asks nothing.
install_packages() {
    local missing as_root=()
    missing=$(missing_packages "$@")
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            say "these packages are missing, and there is no sudo to install them with:" $missing
            return 1
        }
        as_root=(sudo)
    fi
    say "installing" $missing
    "${as_root[@]}" apt-get update -qq
    # Word splitting is meant: one word a package.
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends -o Dpkg::Use-Pty=0 -q $missing
}

# Configures build/ where that was not done yet, with the tests (ON) or, as long as nobody asked for them, without (OFF):
# they need packages that the program does not.
configure() {
    local tests=$1
    if [ -f "$top/build/build.ninja" ]; then
        [ "$tests" = ON ] && ! grep -q '^BUILD_TESTING:BOOL=ON$' "$top/build/CMakeCache.txt" || return 0
    fi
    say "configuring"
    cmake --preset daily -S "$top" -DBUILD_TESTING="$tests" >"$top/build-configure.log" 2>&1 || {
        cat "$top/build-configure.log"
        return 1
    }
    rm -f "$top/build-configure.log"
}

# Builds the given targets (all by default) in build/, where something changed.
build() {
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    say "building"
    cmake --build "$top/build" "${targets[@]}"
}
