#!/usr/bin/env bash
# Installs the build (BUILD_DIR) into an empty folder, checks what lies there, and builds and runs a
# project that finds it. CXX and SANITIZERS are those of the build.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
sample="$here/../../samples/palette_tiles.tif"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$BUILD_DIR" --prefix "$prefix" >"$work/install.log"
for file in bin/ifdsweep lib/ifdsweep/ifdsweep.so lib/libifdsweep_module_static.a \
    lib/libifdsweep_host.a include/ifdsweep/gateway/qx.h include/ifdsweep/host/host.h \
    lib/cmake/ifdsweep/ifdsweepConfig.cmake lib/cmake/ifdsweep/ifdsweepConfigVersion.cmake \
    share/man/man1/ifdsweep.1 share/bash-completion/completions/ifdsweep \
    share/zsh/site-functions/_ifdsweep share/fish/vendor_completions.d/ifdsweep.fish \
    share/doc/ifdsweep/LICENSE share/doc/ifdsweep/README.md share/doc/ifdsweep/docs/cookbook.md; do
    [[ -f "$prefix/$file" ]] || { echo "not installed: $file" && exit 1; }
done
# What a Debian package has in another form is not for a plain installation.
packed=$(find "$prefix" -name '*.gz' -o -name vendor-completions -o -name copyright)
[[ -z "$packed" ]] || { echo "installed: $packed" && exit 1; }

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$BUILD_DIR/CMakeCache.txt")
"$prefix/bin/ifdsweep" --version | grep -F "$version"
"$prefix/bin/ifdsweep" --format json "$sample" | grep -qF '"Width":64'

# The package must work from wherever it was moved to.
mv "$prefix" "$work/moved"
flags="-g1 ${SANITIZERS:+-fsanitize=$SANITIZERS}"
cmake -S "$here/consumer" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/moved" \
    -DCMAKE_CXX_FLAGS="$flags" -DIFDSWEEP_WANTED="$version" >"$work/configure.log"
cmake --build "$work/consumer"

answer=$("$work/consumer/consumer" "$sample")
[[ "$answer" == "1 directory, 0 warnings, 0 live values" ]] ||
    { echo "the consumer says: $answer" && exit 1; }
