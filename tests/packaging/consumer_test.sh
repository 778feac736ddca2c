#!/usr/bin/env bash
# Installs the build into an empty folder and builds a stranger's programs against it, through the CMake
# package, through pkg-config and with nothing but dlopen; runs them, and the installed tool. Compiles every installed
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

# The lines of docs/use/install.md; a function only adds the sanitizer's flags.
c++() { command c++ $flags "$@"; }  # shellcheck disable=SC2086
cc() { command cc $flags "$@"; }    # shellcheck disable=SC2086
cp "$here"/../../examples/{decode_capture.cpp,c_host.c,*.expected,three_messages.*} "$work"
cd "$work"
export PKG_CONFIG_PATH=$libdir/pkgconfig LD_LIBRARY_PATH=$libdir
# shellcheck disable=SC2046  # word splitting is wanted
{
c++ -std=c++20 decode_capture.cpp -o decode_capture $(pkg-config --cflags --libs qbt2-host)
cc c_host.c -o c_host
}
./decode_capture three_messages.stp three_messages.stp.cfg | diff decode_capture.expected -
./c_host "$(pkg-config --variable=plugin qbt2-decoder)" | diff c_host.expected -
unset LD_LIBRARY_PATH

# Found through its own path, without any help of the environment.
"$work/root/bin/qbt2" columns --format jsonl | grep -c '"bits"' | grep -qx 45

cd "$work/root/include/qbt2"
if find . -path '*decoder/*' | grep .; then
  echo "the decoder's own headers were installed" >&2
  exit 1
fi
find . -name '*.h' -printf '%P\n' | xargs -P "$(nproc)" -I '{}' sh -c '
  echo "#include \"$1\"" | c++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I. -x c++ - ||
    { echo "$1 does not compile alone" >&2; exit 1; }' header '{}'
