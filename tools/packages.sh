# Sourced by the commands. need PROGRAM:PACKAGE... installs what is missing with apt where that is allowed, else says
# what to install and ends. A name with a slash is a file that must exist instead of a program.

missing_packages() {
    for pair in "$@"; do
        what=${pair%%:*}
        case $what in
        */*) [ -e "$what" ] || printf '%s\n' "${pair#*:}" ;;
        *) command -v "$what" >/dev/null 2>&1 || printf '%s\n' "${pair#*:}" ;;
        esac
    done | sort -u
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then sudo -n "$@"
    else return 1
    fi
}

need() {
    packages=$(missing_packages "$@")
    [ -n "$packages" ] || return 0
    # shellcheck disable=SC2086 # the packages are separate words
    if ! command -v apt-get >/dev/null 2>&1 ||
        ! { as_root apt-get update -qq && as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
            --no-install-recommends $packages >/dev/null; }; then
        printf 'Please install these packages first (they could not be installed from here):\n  apt-get install %s\n' \
            "$(printf '%s' "$packages" | tr '\n' ' ')" >&2
        exit 1
    fi
}

# What building and running needs.
need_to_build() {
    need cmake:cmake ninja:ninja-build python3:python3 \
        x86_64-w64-mingw32-g++-posix:g++-mingw-w64-x86-64-posix x86_64-w64-mingw32-widl:mingw-w64-tools \
        /usr/include/nlohmann/json.hpp:nlohmann-json3-dev /usr/include/CLI/CLI.hpp:libcli11-dev flock:util-linux
    command -v wine64 >/dev/null 2>&1 || [ -x /usr/lib/wine/wine64 ] || command -v wine >/dev/null 2>&1 ||
        need wine64:wine64
}
