#!/usr/bin/env bash
# Installs the build (BUILD_DIR) into an empty folder, checks what lies there, and builds and runs
# the programs of docs/library.md against it: with the compiler of the build and, unless that build
# has sanitizers, which are each compiler's own, with every other one that is here.
set -euo pipefail

built_with() { sed -n "s/^$1:[A-Z]*=//p" "$BUILD_DIR/CMakeCache.txt"; }
compiler=$(built_with CMAKE_CXX_COMPILER)
sanitizers=$(built_with IFDSWEEP_SANITIZERS)
version=$(built_with CMAKE_PROJECT_VERSION)

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$here/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$BUILD_DIR" --prefix "$prefix" >"$work/install.log"
for file in bin/ifdsweep lib/ifdsweep/ifdsweep.so lib/libifdsweep.a lib/libifdsweep_module.a \
    lib/cmake/ifdsweep/ifdsweepConfig.cmake lib/cmake/ifdsweep/ifdsweepConfigVersion.cmake \
    lib/cmake/ifdsweep/FindBrotliDecoder.cmake \
    lib/pkgconfig/ifdsweep.pc lib/pkgconfig/ifdsweep-module.pc \
    share/man/man1/ifdsweep.1 share/bash-completion/completions/ifdsweep \
    share/zsh/site-functions/_ifdsweep share/fish/vendor_completions.d/ifdsweep.fish \
    share/doc/ifdsweep/LICENSE share/doc/ifdsweep/README.md share/doc/ifdsweep/docs/cookbook.md; do
    [[ -f "$prefix/$file" ]] || { echo "not installed: $file" && exit 1; }
done
# The headers are those of include/. Each is told of and can be included alone.
diff -r "$root/include" "$prefix/include"
for header in "$prefix"/include/ifdsweep/*.h; do
    grep -qF "ifdsweep/${header##*/})" "$root/docs/library.md" ||
        { echo "not in docs/library.md: $header" && exit 1; }
done
# What a Debian package has in another form is not for a plain installation.
packed=$(find "$prefix" -name '*.gz' -o -name vendor-completions -o -name copyright)
[[ -z "$packed" ]] || { echo "installed: $packed" && exit 1; }

"$prefix/bin/ifdsweep" --version | grep -F "$version"
"$prefix/bin/ifdsweep" --format json "$root/samples/palette_tiles.tif" | grep -qF '"Width":64'

# Link-time code in a library is for the compiler that wrote it alone.
for library in "$prefix"/lib/*.a; do
    sections=$(readelf --section-headers --wide "$library")
    [[ $sections != *.gnu.lto_* ]] || { echo "link-time code: $library" && exit 1; }
done

# The packages must work from wherever they were moved to.
mv "$prefix" "$work/moved"
compilers=("$compiler")
if [[ -z $sanitizers ]]; then
    for other in g++ clang++; do
        command -v "$other" >/dev/null ||
            { echo "library: not tested with $other, which is not installed" >&2 && continue; }
        [[ $(readlink -f "$(command -v "$other")") == $(readlink -f "$compiler") ]] ||
            compilers+=("$other")
    done
fi
for header in "$work"/moved/include/ifdsweep/*.h; do
    echo "#include <ifdsweep/$(basename "$header")>" | "$compiler" -std=c++20 -fsyntax-only \
        -Wall -Wextra -Werror -I "$work/moved/include" -x c++ - ||
        { echo "not whole: $header" && exit 1; }
done
python3 "$here/library_test.py" "$root/docs/library.md" "$work/moved" "$root" "$version" \
    "-g1 ${sanitizers:+-fsanitize=$sanitizers}" "${compilers[@]}"
