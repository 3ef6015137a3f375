#!/usr/bin/env bash
# Makes the Debian package of the build in BUILD_DIR, unless one is given; checks what is in it, and
# installs, runs and removes it in an empty root.
#
# Usage: package_test.sh [PACKAGE.deb]
set -euo pipefail

source="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
sample="$source/samples/palette_tiles.tif"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "package: $*" >&2
    exit 1
}

if (($#)); then
    package=$1
else
    cpack --config "$BUILD_DIR/CPackConfig.cmake" -B "$work/pack" >"$work/log" 2>&1 ||
        { cat "$work/log" && fail "cpack failed"; }
    package=$(ls "$work"/pack/*.deb)
fi

# Every file of it, and nothing but folders beside them.
dpkg-deb --fsys-tarfile "$package" | tar -tvf - >"$work/list"
awk '!/^d/ {sub("^[.]", "", $6); print $6}' "$work/list" | sort >"$work/files"
docs=$(cd "$source" && find docs -type f -printf '/usr/share/doc/ifdsweep/%p\n')
sort >"$work/expected" <<TEXT
/usr/bin/ifdsweep
/usr/lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)/ifdsweep/ifdsweep.so
/usr/share/bash-completion/completions/ifdsweep
/usr/share/doc/ifdsweep/README.md
/usr/share/doc/ifdsweep/changelog.gz
/usr/share/doc/ifdsweep/copyright
/usr/share/fish/vendor_completions.d/ifdsweep.fish
/usr/share/lintian/overrides/ifdsweep
/usr/share/man/man1/ifdsweep.1.gz
/usr/share/zsh/vendor-completions/_ifdsweep
$docs
TEXT
diff "$work/expected" "$work/files" || fail "other files than expected (<)"
strangers=$(awk '$2 != "root/root" || $1 !~ /^(drwxr-xr-x|-rw-r--r--|-rwxr-xr-x)$/' "$work/list")
[[ -z $strangers ]] || fail "owners or modes: $strangers"
dpkg-deb --ctrl-tarfile "$package" | tar -tf - | grep -vx -e ./ -e ./control -e ./md5sums &&
    fail "scripts in the package"

field() { dpkg-deb --field "$package" "$1"; }
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$BUILD_DIR/CMakeCache.txt")
[[ $(field Package) == ifdsweep ]] || fail "Package: $(field Package)"
[[ $(field Version) == "$version" ]] || fail "Version: $(field Version)"
[[ $(field Architecture) == "$(dpkg --print-architecture)" ]] ||
    fail "Architecture: $(field Architecture)"
[[ $(field Depends) == *libstdc++6* ]] || fail "Depends: $(field Depends)"
[[ $(field Section) == graphics ]] || fail "Section: $(field Section)"
[[ $(field Description) == *$'\n The package also holds'* ]] ||
    fail "Description: $(field Description)"

# A root that knows of no package. Its dependencies are those of the machine, whose libraries the
# program uses when it is run by its path.
root="$work/root"
mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
touch "$root/var/lib/dpkg/status"
in_root() {
    dpkg --root="$root" --force-not-root --force-depends --force-bad-path "$@" \
        >>"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log" && fail "dpkg $1 failed"; }
}
in_root --install "$package"
status=$(dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Abbrev}' ifdsweep)
[[ $status == "ii " ]] || fail "after the installation: $status"
in_root --verify ifdsweep

"$root/usr/bin/ifdsweep" --version | grep -qxF "ifdsweep $version" || fail "another version"
"$root/usr/bin/ifdsweep" --format json "$sample" | grep -qF '"Width":64' || fail "no width"
gzip -cd "$root/usr/share/man/man1/ifdsweep.1.gz" | cmp - "$BUILD_DIR/manual/ifdsweep.1"
gzip -cd "$root/usr/share/doc/ifdsweep/changelog.gz" | grep -qF "ifdsweep ($version) " ||
    fail "the changelog knows nothing of $version"
# A static program needs nothing of the machine: the root alone is enough.
if ((EUID == 0)) && ! readelf --program-headers "$root/usr/bin/ifdsweep" | grep -q INTERP; then
    cp "$sample" "$root/sample.tif"
    chroot "$root" /usr/bin/ifdsweep --format json /sample.tif | grep -qF '"Width":64' ||
        fail "no width in the root alone"
    rm "$root/sample.tif"
fi

in_root --purge ifdsweep
left=$(find "$root" -mindepth 1 -path "$root/var" -prune -o -print)
[[ -z $left ]] || fail "left behind: $left"
known=$(dpkg-query --admindir="$root/var/lib/dpkg" -W 2>/dev/null || true)
[[ -z $known ]] || fail "dpkg still knows of $known"
