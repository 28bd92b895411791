# Functions of ./run and of the scripts that it starts: packages, builds and stages that show how far
# they are. Sourced from the top of the repository.

jobs=$(nproc)

say() { printf '%s\n' "$*" >&2; }

# On a terminal one line changes; elsewhere a line is written now and then.
progress_line=
[ -t 2 ] && [ "${TERM:-dumb}" != dumb ] && progress_line=1

show() {
    local width
    width=$(tput cols 2>/dev/null) || width=80
    printf '\r\033[K%s' "${1:0:width-1}" >&2
}

# follow LOG: copies standard input to LOG and shows the steps that ninja, ctest and apt write. A test
# that fails is named at once.
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

# plan NAME...: the stages that are to come, in their order.
plan() {
    planned=("$@")
    stages=$#
}
planned=()
stages=0

# What of a log tells why a stage failed: all but the steps that went well.
why_it_failed() {
    grep -vE '^ *Start +[0-9]+:|   Passed +[0-9.]+ sec$|^\[[0-9]+/[0-9]+\] (Building|Linking|Generating|Creating)' \
        "$1" >&2 || true
}

# stage TIME LOG COMMAND...: runs the command of the next planned stage with its output in LOG. TIME
# says how long that is likely to take. A failure ends the program, and says what did not run.
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

# need PACKAGE...: Debian packages, which are installed if they are missing.
need() {
    [ "${TORVELSI_SKIP_INSTALL:-0}" = 1 ] && return
    if ! command -v dpkg-query >/dev/null; then
        say "run: this system has no dpkg, so ./run cannot install what it needs. Install what these"
        say "Debian packages hold, by the means of your system:"
        say "    $*"
        say "Then tell ./run that all of it is there:"
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
            say "run: packages are missing, and installing them takes root. As root, run this line:"
            say "    apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
            exit 1
        fi
        sudo=(sudo)
        sudo -v  # asks for the password while its question can still be seen
    fi
    build_folder
    say "run: installing ${#missing[@]} packages and what they need (a minute or two; log: build/apt.log): ${missing[*]}"
    {
        "${sudo[@]}" apt-get update &&
            "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y \
                --no-install-recommends "${missing[@]}"
    } 2>&1 | follow build/apt.log || {
        tail -n 20 build/apt.log >&2
        say "run: the packages could not be installed; log: build/apt.log"
        exit 1
    }
    rm -f build/*/configured_with  # what CMake did not find may be there now
}

# build_folder [FOLDER]: makes the folder, and ends the program if another user's is in its place.
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

# A compiler cache and a faster linker are used where they are installed.
build_options() {
    if command -v ccache >/dev/null; then
        printf '%s\n' -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    if command -v mold >/dev/null; then
        printf '%s\n' -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=mold
    fi
}
# Without these, ccache leaves alone whatever uses a precompiled header.
export CCACHE_SLOPPINESS=pch_defines,time_macros

# build PRESET TARGET [cmake options]: builds TARGET in build/PRESET. It is configured only when that
# would make a difference: ninja does it by itself when a CMakeLists.txt has changed.
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

# run_ctest PRESET [ctest options]: the tests of build/PRESET. Those that took longest last time begin
# first.
run_ctest() {
    ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$jobs" "${@:2}"
}

# tests_done PRESET LOG: says how many tests passed, and which were skipped and why.
tests_done() {
    say "  $(grep 'tests passed' "$2")"
    # ctest's list at the end has the numbers of the skipped tests; what they wrote is in its own log.
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
