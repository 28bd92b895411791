# Functions of ./run and its scripts for packages, builds and stages that show their progress.
# Source this file from the top of the repository.

jobs=$(nproc)

say() { printf '%s\n' "$*" >&2; }

# On a terminal one line changes; elsewhere a new line is written every 30 seconds.
progress_line=
[ -t 2 ] && [ "${TERM:-dumb}" != dumb ] && progress_line=1

show() {
    local width
    width=$(tput cols 2>/dev/null) || width=80
    printf '\r\033[K%s' "${1:0:width-1}" >&2
}

# follow LOG: copies standard input to LOG and shows the steps of ninja, ctest and apt. It reports a
# failed test at once.
follow() {
    local line step='' shown=$SECONDS
    local test_line='^ *([0-9]+/[0-9]+) Test +#[0-9]+: ([^ ]+) [. ]*(.*)$'
    while IFS= read -r line || [ -n "$line" ]; do
        printf '%s\n' "$line" >&3
        if [[ $line =~ ^\[[0-9]+/[0-9]+\] ]]; then
            step=$line
        elif [[ $line =~ $test_line ]]; then
            step="[${BASH_REMATCH[1]}] ${BASH_REMATCH[2]}"
            case ${BASH_REMATCH[3]} in
                '***'*Failed* | '***'*Timeout* | '***'*Exception* | '***Not Run'*)
                    [ -z "$progress_line" ] || printf '\r\033[K' >&2
                    say "  failed: ${BASH_REMATCH[2]}"
                    ;;
            esac
        elif [[ $line =~ ^(Get:|Unpacking |Setting\ up |check: ) ]]; then
            step=$line
        else
            continue
        fi
        if [ -n "$progress_line" ]; then
            show "  $step"
        elif [ $((SECONDS - shown)) -ge 30 ]; then
            say "  $step"
            shown=$SECONDS
        fi
    done 3>"$1"
    [ -z "$progress_line" ] || printf '\r\033[K' >&2
}

minutes() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

# plan NAME...: sets the stages that follow, in their order.
plan() {
    planned=("$@")
    stages=$#
}
planned=()
stages=0

# Prints the part of a log that says why a stage failed: everything except the steps that succeeded.
why_it_failed() {
    grep -vE '^ *Start +[0-9]+:|   Passed +[0-9.]+ sec$|^\[[0-9]+/[0-9]+\] (Building|Linking|Generating|Creating)' \
        "$1" >&2 || true
}

# stage TIME LOG COMMAND...: runs the command of the next planned stage and writes its output to
# LOG. TIME is how long it is likely to take. When the command fails, the program ends and lists the
# stages that did not run.
stage() {
    local name=${planned[0]} time=$1 log=$2 start=$SECONDS status=0
    planned=("${planned[@]:1}")
    build_folder "$(dirname "$log")"
    say "run: [$((stages - ${#planned[@]}))/$stages] $name ($time; log: $log)"
    { "${@:3}" 2>&1 || echo "$?" >"$log.status"; } | follow "$log"
    if [ -e "$log.status" ]; then
        status=$(cat "$log.status")
        rm "$log.status"
        why_it_failed "$log"
        say "run: failed: $name, after $(minutes $((SECONDS - start))); log: $log"
        [ ${#planned[@]} -eq 0 ] ||
            say "run: did not run: $(printf '%s, ' "${planned[@]}" | sed 's/, $//')"
        exit "$status"
    fi
    say "  done in $(minutes $((SECONDS - start)))"
}

# need PACKAGE...: installs those of the Debian packages that are missing.
need() {
    [ "${TORVELSI_SKIP_INSTALL:-0}" = 1 ] && return
    if ! command -v dpkg-query >/dev/null; then
        say "run: this system has no dpkg, so ./run cannot install packages. Install the contents of"
        say "these Debian packages with your system's package manager:"
        say "    $*"
        say "Then run this, which skips the check for packages:"
        say "    TORVELSI_SKIP_INSTALL=1 ./run ${command_line[*]}"
        exit 1
    fi
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            say "run: packages are missing, and only root can install them. As root, run this line:"
            say "    apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
            exit 1
        fi
        sudo=(sudo)
        sudo -v  # asks for the password now, because later its prompt would go to a log
    fi
    build_folder
    say "run: installing ${#missing[@]} packages and what they need (a minute or two; log: build/apt.log): ${missing[*]}"
    {
        "${sudo[@]}" apt-get update &&
            "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y \
                --no-install-recommends "${missing[@]}"
    } 2>&1 | follow build/apt.log || {
        tail -n 20 build/apt.log >&2
        say "run: installing the packages failed; log: build/apt.log"
        exit 1
    }
    rm -f build/*/configured_with  # makes CMake look again for what it did not find
}

# build_folder [FOLDER]: makes the folder. The program ends if the folder belongs to another user.
build_folder() {
    local folder=${1-build} at
    for at in build "$folder"; do
        if [ -e "$at" ] && [ ! -w "$at" ]; then
            say "run: $PWD/$at belongs to user $(stat -c %U "$at"), and you cannot write to it. To remove it:"
            say "    sudo rm -r '$PWD/$at'"
            exit 1
        fi
    done
    mkdir -p "$folder"
}

# Uses ccache and the linker mold where they are installed.
build_options() {
    if command -v ccache >/dev/null; then
        printf '%s\n' -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    if command -v mold >/dev/null; then
        printf '%s\n' -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=mold
    fi
}
# Without these settings ccache does not store files that use a precompiled header.
export CCACHE_SLOPPINESS=pch_defines,time_macros

# build PRESET TARGET [cmake options]: builds TARGET in build/PRESET. It runs cmake only when the
# preset or the options have changed; ninja runs it when a CMakeLists.txt has changed.
build() {
    local preset=$1 target=$2 options configured=build/$1/configured_with
    build_folder "build/$preset"
    mapfile -t options < <(build_options)
    options+=("${@:3}")
    if [ ! -e "build/$preset/build.ninja" ] || [ CMakePresets.json -nt "$configured" ] ||
        [ "${options[*]}" != "$(cat "$configured" 2>/dev/null)" ]; then
        cmake --preset "$preset" "${options[@]}" || return
        printf '%s' "${options[*]}" >"$configured"
    fi
    cmake --build "build/$preset" -j "$jobs" --target "$target"
}

# run_ctest PRESET [ctest options]: runs the tests of build/PRESET. ctest begins with those that
# took longest the last time.
run_ctest() {
    ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$jobs" "${@:2}"
}

# tests_done PRESET LOG: prints how many tests passed, and which were skipped and why.
tests_done() {
    say "  $(grep 'tests passed' "$2")"
    # The list at the end of ctest's output has the numbers of the skipped tests; its own log has
    # their output.
    awk '
        FNR == NR { if (/^\t *[0-9]+ - .*\(Skipped\)$/) skipped[$1] = 1; next }
        /^[0-9]+\/[0-9]+ Testing: / { number = $1 + 0; name = $3; reason = last = ""; output = 0 }
        /^<end of output>$/ {
            output = 0
            if (number in skipped) {
                if (reason == "") reason = last
                sub(/^skipped: /, "", reason)
                if (!(reason in names)) order[++count] = reason
                names[reason] = names[reason] " " name
            }
        }
        output && reason == "" && previous ~ /: Skipped$/ { reason = $0 }
        output && !/^\[/ && $0 != "" { last = $0 }
        /^Output:$/ { output = 1 }
        { previous = $0 }
        END { for (i = 1; i <= count; i++) printf "  skipped, %s:%s\n", order[i], names[order[i]] }
    ' "$2" "build/$1/Testing/Temporary/LastTest.log" >&2
}
