#!/usr/bin/env bash
# Installs the build (BUILD_DIR) into an empty folder, checks what lies there, and builds and runs a
# project that finds it: with the compiler of the build and, unless that build has sanitizers, which
# are each compiler's own, with every other one that is here.
set -euo pipefail

built_with() { sed -n "s/^$1:[A-Z]*=//p" "$BUILD_DIR/CMakeCache.txt"; }
compiler=$(built_with CMAKE_CXX_COMPILER)
sanitizers=$(built_with IFDSWEEP_SANITIZERS)
version=$(built_with CMAKE_PROJECT_VERSION)

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
sample="$here/../../samples/palette_tiles.tif"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$BUILD_DIR" --prefix "$prefix" >"$work/install.log"
for file in bin/ifdsweep lib/ifdsweep/ifdsweep.so lib/libifdsweep_module_static.a \
    lib/libifdsweep_library.a include/ifdsweep/ifdsweep/qx.h include/ifdsweep/host/host.h \
    lib/cmake/ifdsweep/ifdsweepConfig.cmake lib/cmake/ifdsweep/ifdsweepConfigVersion.cmake \
    share/man/man1/ifdsweep.1 share/bash-completion/completions/ifdsweep \
    share/zsh/site-functions/_ifdsweep share/fish/vendor_completions.d/ifdsweep.fish \
    share/doc/ifdsweep/LICENSE share/doc/ifdsweep/README.md share/doc/ifdsweep/docs/cookbook.md; do
    [[ -f "$prefix/$file" ]] || { echo "not installed: $file" && exit 1; }
done
# What a Debian package has in another form is not for a plain installation.
packed=$(find "$prefix" -name '*.gz' -o -name vendor-completions -o -name copyright)
[[ -z "$packed" ]] || { echo "installed: $packed" && exit 1; }

"$prefix/bin/ifdsweep" --version | grep -F "$version"
"$prefix/bin/ifdsweep" --format json "$sample" | grep -qF '"Width":64'

# Link-time code in a library is for the compiler that wrote it alone.
for library in "$prefix"/lib/*.a; do
    sections=$(readelf --section-headers --wide "$library")
    [[ $sections != *.gnu.lto_* ]] || { echo "link-time code: $library" && exit 1; }
done

# The package must work from wherever it was moved to.
mv "$prefix" "$work/moved"
compilers=("$compiler")
if [[ -z $sanitizers ]]; then
    for other in g++ clang++; do
        [[ $(readlink -f "$(command -v "$other")") == $(readlink -f "$compiler") ]] ||
            compilers+=("$other")
    done
fi
for compiler in "${compilers[@]}"; do
    command -v "$compiler" >/dev/null || continue
    cmake -S "$here/consumer" -B "$work/consumer" -G Ninja --fresh \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/moved" \
        -DCMAKE_CXX_FLAGS="-g1 ${sanitizers:+-fsanitize=$sanitizers}" \
        -DIFDSWEEP_WANTED="$version" >"$work/configure.log"
    cmake --build "$work/consumer" --clean-first
    answer=$("$work/consumer/consumer" "$sample")
    [[ "$answer" == "1 directory, 0 warnings, 0 live values" ]] ||
        { echo "the consumer of $compiler says: $answer" && exit 1; }
    echo "install: used with $compiler"
done
