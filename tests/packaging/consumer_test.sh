#!/usr/bin/env bash
# Installs the build into an empty folder and builds a stranger's program against it, once through the
# CMake package and once through pkg-config; runs both, and the installed tool. Compiles every installed
# header alone.
# usage: consumer_test.sh BUILD_FOLDER WORK_FOLDER [COMPILER_FLAGS]
set -euo pipefail
build=$1 work=$2 flags=${3-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
rm -rf "$work"
mkdir -p "$work/home"
export HOME=$work/home  # the decoder makes its trace folders there

cmake --install "$build" --prefix "$work/root" >"$work/install.log"
libdir=$(dirname "$(find "$work/root" -name 'libqbt2decoder.so')")

# The plain name, by which hosts load it, is a link to the versioned one.
test -L "$libdir/libqbt2decoder.so"
readelf -d "$libdir/libqbt2decoder.so" | grep -Eq 'SONAME.*libqbt2decoder\.so\.[0-9]'

cmp "$work/root/share/doc/qbt2/THIRD-PARTY-NOTICES" "$here/../../THIRD-PARTY-NOTICES"

cmake -G Ninja -S "$here/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/root" \
  -DCMAKE_CXX_FLAGS="$flags" >"$work/cmake.log"
cmake --build "$work/cmake" >>"$work/cmake.log"
LD_LIBRARY_PATH=$libdir "$work/cmake/consumer"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046,SC2086  # word splitting is wanted
c++ -std=c++20 $flags "$here"/consumer/*.cpp -o "$work/by_pkg_config" \
  $(pkg-config --cflags --libs qbt2-host)
LD_LIBRARY_PATH=$libdir "$work/by_pkg_config"

# Found through its own path, without any help of the environment.
"$work/root/bin/qbt2" columns --format jsonl | grep -c '"key"' | grep -qx 45

cd "$work/root/include/qbt2"
if find . -path '*decoder/*' | grep .; then
  echo "the decoder's own headers were installed" >&2
  exit 1
fi
find . -name '*.h' -printf '%P\n' | xargs -P "$(nproc)" -I '{}' sh -c '
  echo "#include \"$1\"" | c++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I. -x c++ - ||
    { echo "$1 does not compile alone" >&2; exit 1; }' header '{}'
