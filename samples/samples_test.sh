#!/usr/bin/env bash
# Compares the sample files with what the generator (first argument) writes.
set -euo pipefail

samples="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT

"$1" "$fresh"
for file in "$samples"/*.tif "$samples"/*.jpg; do
    cmp "$file" "$fresh/$(basename "$file")"
done
