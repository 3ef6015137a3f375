#!/usr/bin/env bash
# Runs script/run of PROJECT_FOLDER with stand-ins for the build and the program, and compares what
# it says on either output.
#
# Usage: first_run_test.sh PROJECT_FOLDER
set -euo pipefail

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/script" "$folder/build/release"
cp "$1/script/run" "$folder/script/run"
printf '#!/bin/sh\necho "the program: $*"\n' >"$folder/build/release/ifdsweep"
chmod +x "$folder/build/release/ifdsweep"

failures=0
# check NAME BUILD STATUS STDOUT STDERR    BUILD is what stands in script/build.
check() {
    local name=$1 status=0
    printf '#!/usr/bin/env bash\n%s\n' "$2" >"$folder/script/build"
    chmod +x "$folder/script/build"
    "$folder/script/run" --version >"$folder/stdout" 2>"$folder/stderr" || status=$?
    if [[ $status != "$3" ]]; then
        echo "$name: status $status, expected $3"
        failures=1
    fi
    diff -u --label "$name: expected" --label "$name: standard output" \
        <(printf '%s' "$4") "$folder/stdout" || failures=1
    diff -u --label "$name: expected" --label "$name: standard error" \
        <(printf '%s' "$5") "$folder/stderr" || failures=1
}

ran=$'the program: --version\n'

check "nothing to do" 'echo "ninja: no work to do."' 0 "$ran" ""

check "a first run" '
echo "script/setup: installing g++ cmake" >&2
echo "Setting up g++ (4:12.2.0-3) ..."
echo "script/build: configuring" >&2
echo "-- Configuring done"
for now in $(seq 25); do echo "[$now/25] Building CXX object $now.o"; done' 0 "$ran" \
    'script/run: installing g++ cmake
script/run: configuring
script/run: building, 1 of 25
script/run: building, 3 of 25
script/run: building, 5 of 25
script/run: building, 8 of 25
script/run: building, 10 of 25
script/run: building, 13 of 25
script/run: building, 15 of 25
script/run: building, 18 of 25
script/run: building, 20 of 25
script/run: building, 23 of 25
script/run: building, 25 of 25
'

check "build files that renewed themselves" '
echo "[0/1] Re-running CMake..."
echo "[1/2] Building CXX object a.o"
echo "[2/2] Linking CXX executable ifdsweep"' 0 "$ran" \
    'script/run: building, 1 of 2
script/run: building, 2 of 2
'

check "a failed build" '
echo "script/build: configuring" >&2
echo "[1/2] Building CXX object a.o"
echo "a.cpp:1: error: no"
exit 1' 1 "" \
    'script/run: configuring
script/run: building, 1 of 2
[1/2] Building CXX object a.o
a.cpp:1: error: no
script/run: the build failed
'

check "packages that may not be installed" '
echo "script/setup: packages are missing" >&2
exit 1' 1 "" \
    'script/run: packages are missing
script/run: the build failed
'

exit "$failures"
