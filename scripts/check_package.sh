#!/usr/bin/env bash
# Tries a package as its user would: builds the template, the examples and more against it, runs them.
#
# usage: check_package.sh PREFIX FOLDER [STEP...]
#
# PREFIX is where the package was installed or unpacked, FOLDER where the projects are made anew. The
# steps are contents, tool, template, examples, pkg_config, c_project and python; without one, all of
# them.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly ROOT
source "$ROOT/scripts/console.sh"

PREFIX=$(realpath "$1")
mkdir -p "$2"
FOLDER=$(realpath "$2")
shift 2
readonly PREFIX FOLDER

export CMAKE_GENERATOR=Ninja
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
# Nothing but the package may be found.
unset LD_LIBRARY_PATH CMAKE_PREFIX_PATH
export PKG_CONFIG_LIBDIR=$PREFIX/lib/pkgconfig

if [[ -f $PREFIX/bin/QMSD7.dll ]]; then
  SYSTEM=windows DOCUMENTS=$PREFIX EXE=.exe MODULE=.dll
  COMPILERS=i686-w64-mingw32 RUN=("$ROOT/scripts/wine")
  CMAKE_OPTIONS=("-DCMAKE_TOOLCHAIN_FILE=$PREFIX/lib/cmake/qmsd7/mingw-i686.cmake"
    "-DCMAKE_CROSSCOMPILING_EMULATOR=$ROOT/scripts/wine")
  CC=$COMPILERS-gcc-posix CXX=$COMPILERS-g++-posix
else
  SYSTEM=linux DOCUMENTS=$PREFIX/share/doc/qmsd7 EXE='' MODULE=.so RUN=() CMAKE_OPTIONS=()
  CC=gcc CXX=g++
fi
readonly SYSTEM DOCUMENTS EXE MODULE RUN CMAKE_OPTIONS CC CXX

# build_project SOURCE NAME: configures, builds and tests it in FOLDER/NAME.
build_project() {
  cmake -S "$1" -B "$FOLDER/$2" "-DCMAKE_PREFIX_PATH=$PREFIX" "${CMAKE_OPTIONS[@]}" >"$FOLDER/$2.log"
  cmake --build "$FOLDER/$2" >>"$FOLDER/$2.log" || { cat "$FOLDER/$2.log"; return 1; }
  (cd "$FOLDER/$2" && ctest --output-on-failure --no-tests=error)
}

# Every relative link of the documents leads to a file of the package.
check_links() {
  local document link broken=0
  while IFS= read -r -d '' document; do
    while IFS= read -r link; do
      [[ -e $(dirname "$document")/${link%%#*} ]] || { echo "$document: $link"; broken=1; }
    done < <(grep -oE '\]\([^)#:]+(#[^)]*)?\)' "$document" | sed 's/^](//; s/)$//')
  done < <(find "$DOCUMENTS" -name '*.md' -print0)
  ((broken == 0)) || die "These links lead nowhere."
}

try_contents() {
  local file files=(include/qmsd7.h include/qm/client.hpp include/qm/module.hpp
    "bin/qmtool$EXE" lib/cmake/qmsd7/qmsd7Config.cmake lib/pkgconfig/qmsd7.pc
    lib/pkgconfig/qmsd7-module.pc share/qmsd7/template/new.cmake
    share/qmsd7/python/pyproject.toml share/qmsd7/python/README.md
    share/qmsd7/python/qmsd7/__init__.py share/qmsd7/python/qmsd7/py.typed)
  if [[ $SYSTEM == windows ]]; then
    files+=(bin/QMSD7.dll bin/qmproperty.dll lib/libQMSD7.dll.a)
  else
    files+=(lib/libqmsd7.so lib/qm/qmproperty.so share/bash-completion/completions/qmtool)
  fi
  for file in "${files[@]}"; do
    [[ -f $PREFIX/$file ]] || die "The package lacks $file."
  done
  for file in README.md CHANGELOG.md LICENSE docs examples; do
    [[ -e $DOCUMENTS/$file ]] || die "The documents lack $file."
  done
  # The file of properties is its user's; what the package brings is an example.
  file=$(find "$PREFIX" -name qmproperty.toml ! -path "$DOCUMENTS/examples/*")
  [[ -z $file ]] || die "The package brings properties of its own: $file"
  check_links
}

# The command-line tool finds the kernel, and the kernel its modules, by where they lie.
try_tool() {
  local tool=("${RUN[@]}" "$PREFIX/bin/qmtool$EXE")
  "${tool[@]}" inspect qmproperty
  "${tool[@]}" list 'qm*' | tr -d '\r' | grep -qE '^ +qmproperty ' || die "The tool lists no modules."
  "${tool[@]}" --json groups | python3 -m json.tool >/dev/null
  "${tool[@]}" validate qmproperty --quiet
}

try_template() {
  rm -rf "$FOLDER/wordcount" "$FOLDER/wordcount-build"
  (cd "$FOLDER" && cmake -DNAME=wordcount -P "$PREFIX/share/qmsd7/template/new.cmake")
  ! grep -rqi mymodule "$FOLDER/wordcount" || die "The template left its own name behind."
  build_project "$FOLDER/wordcount" wordcount-build
}

try_examples() {
  rm -rf "$FOLDER/examples" "$FOLDER/examples-build"
  cp -r "$DOCUMENTS/examples" "$FOLDER"
  build_project "$FOLDER/examples" examples-build
}

# Without CMake: a module and a host from the command line.
try_pkg_config() {
  local folder=$FOLDER/pkg-config examples=$DOCUMENTS/examples
  rm -rf "$folder"
  mkdir "$folder"
  local about=(-DQM_MODULE_NAME='"exgreeter"' -DQM_MODULE_VERSION='"1.0.0.0"'
    -DQM_MODULE_DESCRIPTION='"Greets"')
  # shellcheck disable=SC2046 # These are several words.
  "$CXX" -std=c++20 "${about[@]}" "$examples/greeter/exgreeter.cpp" -o "$folder/exgreeter$MODULE" \
    $(pkg-config --cflags --libs qmsd7-module)
  # shellcheck disable=SC2046
  "$CC" "$examples/hello_host.c" -o "$folder/host$EXE" $(pkg-config --cflags --libs qmsd7)
  [[ $SYSTEM == linux ]] || cp "$PREFIX/bin/QMSD7.dll" "$folder"
  (cd "$folder" && LD_LIBRARY_PATH=$PREFIX/lib "${RUN[@]}" "./host$EXE")
}

# A project that knows no language but C gets all that others get, the version block included.
try_c_project() {
  local folder=$FOLDER/c-project
  rm -rf "$folder" "$folder-build"
  mkdir "$folder"
  cp "$DOCUMENTS"/examples/{counter/excounter.[ch],hello_host.c} "$folder"
  sed -i 's/exgreeter/excounter/' "$folder/hello_host.c"
  cat >"$folder/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.21)
project(c_project LANGUAGES C)
find_package(qmsd7 REQUIRED)
qm_add_module(NAME excounter SOURCES excounter.c VERSION 2.3.4.5 DESCRIPTION "In C alone")
add_executable(host hello_host.c)
target_link_libraries(host PRIVATE qmsd7::qmsd7)
if(WIN32)
  file(COPY_FILE "${qmsd7_DIR}/../../../bin/QMSD7.dll" "${CMAKE_BINARY_DIR}/QMSD7.dll")
endif()
enable_testing()
add_test(NAME host COMMAND host)
TEXT
  build_project "$folder" c-project-build
  # The text is there in UTF-16.
  grep -qaP 'I\x00n\x00 \x00C\x00 \x00a\x00l\x00o\x00n\x00e' "$folder-build/excounter$MODULE" ||
    die "The module has no version block."
}

# The Python package where it lies. No Python runs under Wine: of the Windows package's copy only the
# syntax is looked at.
try_python() {
  local package=$PREFIX/share/qmsd7/python
  if [[ $SYSTEM == windows ]]; then
    PYTHONPYCACHEPREFIX=$FOLDER/python-cache python3 -m compileall -q "$package"
    return
  fi
  rm -rf "$FOLDER/python"
  mkdir "$FOLDER/python"
  (cd "$FOLDER/python" && PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$package LD_LIBRARY_PATH=$PREFIX/lib \
    python3) <<'TEXT'
import qmsd7

with qmsd7.Kernel.load() as kernel:
    print(kernel.info().description)
    with kernel.open("qmproperty") as properties:
        print(properties.info().description, properties.info().version)
    with kernel.container() as numbers:
        for number in 1, 2, 3:
            numbers.items.add(number).close()
        assert [item.as_int() for item in numbers.items] == [1, 2, 3]
    try:
        kernel.open("no_such_module")
    except qmsd7.Error as error:
        assert error.code == qmsd7.ErrorCode.LOAD
    else:
        raise SystemExit("a module that is not there was opened")
TEXT
}

if (($# == 0)); then
  set -- contents tool template examples pkg_config c_project python
fi
for step in "$@"; do
  say "$step ($SYSTEM)"
  "try_$step"
done
