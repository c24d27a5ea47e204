#!/usr/bin/env bash
# Installs a build into a clean prefix, builds the smallest host against that alone, and runs it against
# the development service.
#
# usage: check_embedding.sh BUILD_FOLDER SOURCE_FOLDER COMPILER FLAGS
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'kill "${service:-}" 2>/dev/null || true; rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
cp -r "$source/examples/minimal" "$work/minimal"
cmake -S "$work/minimal" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$3" -DCMAKE_CXX_FLAGS="$4" >/dev/null
cmake --build "$work/build"

"$work/prefix/bin/brivane-service" "$source/walks/old-town.json" --state "$work" >"$work/log" &
service=$!
until port=$(grep -oP '127\.0\.0\.1:\K[0-9]+' "$work/log"); do
  kill -0 "$service"
  sleep 0.1
done
XDG_CONFIG_HOME=$work "$work/build/minimal" "$source/walks/old-town.btsnoop" \
  "$source/walks/Info.plist" "127.0.0.1:$port" "$work/certificate.pem" >"$work/places"
grep -qx 'Puerta del Río' "$work/places"
! grep -qvx -e 'Puerta del Río' -e 'Panadería La Espiga' "$work/places"
