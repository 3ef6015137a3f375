#!/usr/bin/env bash
# What script/check_includes says of a small tree: right as it is, and with one thing wrong.
set -euo pipefail

check="$(dirname "${BASH_SOURCE[0]}")/../../script/check_includes"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Makes the tree anew: a contract with one header, and two rooms, the second of which includes the
# first.
make_tree() {
    rm -rf "$folder/src"
    mkdir -p "$folder/src/ground" "$folder/src/upper"
    cat >"$folder/src/ROOMS" <<'END'
# room   wing    headers  rooms
contract public  open.h   -

ground   module  -        contract
upper    module  -        contract,ground
END
    echo '#include "ifdsweep/open.h"' >"$folder/src/ground/floor.h"
    printf '#include <vector>\n#include "ground/floor.h"\n' >"$folder/src/upper/roof.cpp"
}

# Fails unless the check says exactly this, and ends with the status that belongs to it.
expect() {
    local status=0 said
    said=$("$check" "$folder/src" 2>&1) || status=$?
    if [[ "$said" != "$1" || $status -ne $((${#1} > 0)) ]]; then
        printf 'status %d, said:\n%s\nexpected:\n%s\n' "$status" "$said" "$1" >&2
        exit 1
    fi
}

make_tree
expect ''

make_tree
echo '#include "upper/roof.h"' >>"$folder/src/ground/floor.h"
expect 'src/ground/floor.h:2: ground/ may not include "upper/roof.h"'

make_tree
echo '#include "ifdsweep/hidden.h"' >>"$folder/src/upper/roof.cpp"
expect 'src/upper/roof.cpp:3: "ifdsweep/hidden.h" is not named in src/ROOMS'

make_tree
mkdir "$folder/src/attic"
echo '#include "ground/floor.h"' >"$folder/src/attic/chest.h"
expect 'src/attic/chest.h:1: the room attic/ has no line in src/ROOMS'

make_tree
sed -i 's/^ground .*/ground module - contract,upper/' "$folder/src/ROOMS"
expect 'src/ROOMS:4: ground/ may not include upper/, which does not stand above it'

make_tree
sed -i 's/^upper .*/upper module - contract,ground,upper/' "$folder/src/ROOMS"
expect 'src/ROOMS:5: upper/ may not include upper/, which does not stand above it'

make_tree
echo 'ground module - contract' >>"$folder/src/ROOMS"
expect 'src/ROOMS:6: ground/ has two rows'
