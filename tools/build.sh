# shellcheck shell=sh
# Sourced by the commands, in the folder of the tree: configures and builds in silence but for a line of progress. What
# fails is shown, and the command ends.

# configure FOLDER OPTION...: makes the build folder; the options are CMake's.
configure() {
    mkdir -p "$1"
    log=$1/configure.log
    shift
    if ! cmake "$@" >"$log" 2>&1; then
        cat "$log" >&2
        printf 'The build could not be configured.\n' >&2
        exit 1
    fi
}

# show_progress WHAT: reads Ninja's lines "[done/all] step". On a terminal one line that changes; elsewhere a line for
# each quarter, so that a long build is no silence.
show_progress() {
    quarter=0
    shown=
    while IFS= read -r line; do
        case $line in
        '['[0-9]*/[0-9]*'] Re-'*) continue ;;
        '['[0-9]*/[0-9]*']'*) ;;
        *) continue ;;
        esac
        counts=${line%%]*}
        counts=${counts#[}
        made=${counts%/*}
        all=${counts#*/}
        if [ -t 2 ]; then
            printf '\r%s: %s of %s' "$1" "$made" "$all" >&2
            shown=yes
        elif [ -z "$shown" ] || [ $((made * 4 / all)) -gt "$quarter" ]; then
            quarter=$((made * 4 / all))
            printf '%s: %s of %s\n' "$1" "$made" "$all" >&2
            shown=yes
        fi
    done
    [ -z "$shown" ] || [ ! -t 2 ] || printf '\n' >&2
}

# build WHAT FOLDER TARGET...: WHAT is said while it builds; nothing is said when all is up to date.
build() {
    what=$1
    folder=$2
    shift 2
    log=$folder/build.log
    # By a file: the status of a pipe is that of its last command.
    rm -f "$folder/build.done"
    # As many at a time as there are cores: one more each only takes the cache from the others.
    { ! ninja -C "$folder" -j"$(nproc)" "$@" 2>&1 || : >"$folder/build.done"; } | tee "$log" | show_progress "$what"
    [ ! -e "$folder/build.done" ] || return 0
    if grep -q '^FAILED' "$log"; then sed -n '/^FAILED/,$p' "$log" >&2; else cat "$log" >&2; fi
    printf 'Building failed; all that was said is in %s.\n' "$log" >&2
    exit 1
}

# build_release TARGET...: what ships, in build/mingw-release. Without tests: these need more than the provider does.
build_release() {
    [ -f build/mingw-release/build.ninja ] ||
        configure build/mingw-release --preset mingw-release -DVELK_TESTS=OFF
    build 'Building' build/mingw-release "$@"
}
