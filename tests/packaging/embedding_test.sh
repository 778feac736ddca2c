#!/usr/bin/env bash
# Configures a project that contains this tree; compiles a user of the host library and builds and runs one
# of the plug-in there. What they link with is in the build folder that the test belongs to.
# usage: embedding_test.sh BUILD_FOLDER WORK_FOLDER [COMPILER_FLAGS]
set -euo pipefail
build=$1 work=$2 flags=${3-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$here/../..
rm -rf "$work"
mkdir -p "$work/home" "$work/project"
cp "$here/embedding/CMakeLists.txt" "$top"/examples/{decode_capture,minimal_host}.cpp "$work/project"
export HOME=$work/home

cmake -G Ninja -S "$work/project" -B "$work/build" -DQBT2_SOURCE_DIR="$top" \
  -DCMAKE_CXX_FLAGS="$flags" >"$work/cmake.log"
cmake --build "$work/build" --target minimal_host CMakeFiles/decode_capture.dir/decode_capture.cpp.o \
  >>"$work/cmake.log"
"$work/build/minimal_host" "$build/lib/libqbt2decoder.so" | diff "$top/examples/minimal_host.expected" -

if cmake --install "$work/build" --prefix "$work/root" >>"$work/cmake.log" && [ -e "$work/root" ]; then
  echo "the tree's files were installed with the project around it" >&2
  exit 1
fi
# Our warnings are for our sources.
if sed -n '/"command".*minimal_host/p' "$work/build/compile_commands.json" | grep -e -W; then exit 1; fi
