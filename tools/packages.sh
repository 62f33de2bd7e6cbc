# shellcheck shell=sh
# Sourced by the commands, in the folder of the tree. Each command says once all that it needs, as PROGRAM:PACKAGE: what
# is missing is installed with apt where that is allowed; else one sentence names all of it, and the command ends.
# A name with a slash is a file that must exist instead of a program; names parted by "|" stand for each other.

# shellcheck disable=SC2034 # for those who source this
{
    needs_to_build='cmake:cmake ninja:ninja-build python3:python3 flock:util-linux
        x86_64-w64-mingw32-g++-posix:g++-mingw-w64-x86-64-posix x86_64-w64-mingw32-widl:mingw-w64-tools
        /usr/include/nlohmann/json.hpp:nlohmann-json3-dev /usr/include/CLI/CLI.hpp:libcli11-dev
        wine64|/usr/lib/wine/wine64|wine:wine64'
    needs_to_package='wixl:wixl msibuild:msitools
        /usr/lib/python3/dist-packages/markdown/__init__.py:python3-markdown'
    needs_to_test='/usr/src/googletest/CMakeLists.txt:googletest ld.lld:lld llvm-mc:llvm dmidecode:dmidecode lspci:pciutils
        /usr/lib/python3/dist-packages/jsonschema/__init__.py:python3-jsonschema
        chromium|chromium-browser|google-chrome|google-chrome-stable:chromium'
    needs_to_fuzz='cmake:cmake ninja:ninja-build python3:python3 clang++:clang'
    needs_to_lint='git:git clang++:clang clang-format:clang-format clang-tidy:clang-tidy cppcheck:cppcheck shellcheck:shellcheck'
}

is_there() {
    case $1 in
    */*) [ -e "$1" ] ;;
    *) command -v "$1" >/dev/null 2>&1 ;;
    esac
}

# missing_packages PROGRAM:PACKAGE...
missing_packages() {
    for pair in "$@"; do
        names=${pair%%:*}
        found=
        while [ -n "$names" ]; do
            name=${names%%"|"*}
            ! is_there "$name" || found=yes
            case $names in
            *"|"*) names=${names#*"|"} ;;
            *) names= ;;
            esac
        done
        [ -n "$found" ] || printf '%s\n' "${pair#*:}"
        # Clang's sanitizers are a package of their own, whose files lie where only Clang itself tells.
        if [ "$pair" = clang++:clang ] &&
            ! { [ -n "$found" ] && [ -e "$(clang++ --print-resource-dir)/lib/linux/libclang_rt.fuzzer-x86_64.a" ]; }; then
            printf 'libclang-rt-dev\n'
        fi
    done | sort -u
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then sudo -n "$@"
    else return 1
    fi
}

# install_packages PACKAGE...: quiet but for a failure, whose text stays in build/packages.log.
install_packages() {
    command -v apt-get >/dev/null 2>&1 && as_root true || return 1
    mkdir -p build
    printf 'Installing with apt, which may take some minutes: %s\n' "$*" >&2
    if ! { as_root apt-get update -qq && as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
        --no-install-recommends "$@"; } >build/packages.log 2>&1; then
        grep '^[EW]:' build/packages.log >&2 || tail -n 5 build/packages.log >&2
        return 1
    fi
}

# need PROGRAM:PACKAGE...
need() {
    packages=$(missing_packages "$@")
    [ -n "$packages" ] || return 0
    # shellcheck disable=SC2086 # the packages are separate words
    if ! install_packages $packages; then
        printf 'Please install these packages first (they could not be installed from here):\n  apt-get install %s\n' \
            "$(printf '%s' "$packages" | tr '\n' ' ')" >&2
        exit 1
    fi
}
