# What is built once for script/windows: the libraries that this system's packages have for Linux only, from the sources
# of the same packages. To be sourced after lib.sh; expects the number of jobs in `jobs`.

# The tool-chain file looks here.
dependencies=$buildDir/windows-dependencies
crossCompiler=x86_64-w64-mingw32-g++-posix

windowsPackages=(g++-mingw-w64-x86-64-posix wine wine64 cmake ninja-build pkg-config libboost-tools-dev dpkg-dev
  xz-utils googletest libcli11-dev nlohmann-json3-dev lld)

# fetch_source PACKAGE FOLDER: unpacks the newest source of a package of this Debian, with an index of our own: the
# system's lists may name no sources, and are none of our business.
fetch_source() {
  local package=$1 folder=$2 state=$dependencies/apt/$1
  mkdir -p "$state/lists/partial" "$state/archives/partial" "$state/source" "$folder"
  echo "deb-src http://deb.debian.org/debian $(. /etc/os-release && echo "$VERSION_CODENAME") main" >"$state/sources.list"
  local options=(-o "Dir::Etc::SourceList=$state/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$state/lists"
    -o "Dir::Cache::Archives=$state/archives" -o Dir::Cache::PkgCache= -o Dir::Cache::SrcPkgCache=
    -o APT::Sandbox::User=root)
  rm -rf "$folder" "$state/source"
  mkdir -p "$state/source"
  apt-get "${options[@]}" -qq update \
    && (cd "$state/source" && apt-get "${options[@]}" -qq source --download-only "$package") \
    && (cd "$state" && dpkg-source --no-check --no-copy --extract source/"$package"_*.dsc "$folder")
}

build_boost() {
  local tree=$dependencies/boost
  fetch_source boost1.74 "$tree" || return 1
  echo "using gcc : mingw : $crossCompiler ;" >"$tree/user-config.jam"
  # Settings from files would be a second library, and need a third; nobody here reads any. And the parts of Boost.Log
  # that take the longest to compile have no user here.
  sed -i -E -e 's/^boost-install boost_log boost_log_setup ;/boost-install boost_log ;/' \
    -e '/^ +(text_(file|multifile|ostream)_backend|((date_time|named_scope)_)?format_parser|named_scope)\.cpp$/d' \
    -e '/^ +(global_logger_storage|timer|trivial)\.cpp$/d' "$tree/libs/log/build/Jamfile.v2"
  # Left where it is built: the headers are there already.
  (cd "$tree" && b2 -d0 headers \
    && b2 -d0 -j "$jobs" --user-config=user-config.jam toolset=gcc-mingw target-os=windows address-model=64 \
      architecture=x86 binary-format=pe abi=ms threadapi=win32 link=shared variant=release \
      cxxflags=-D_WIN32_WINNT=0x0A00 cxxflags=-O1 define=BOOST_LOG_WITHOUT_SETTINGS_PARSERS \
      define=BOOST_LOG_WITHOUT_IPC define=BOOST_LOG_WITHOUT_SYSLOG define=BOOST_LOG_WITHOUT_EVENT_LOG \
      --with-log --with-thread stage) || return 1
  # Beside the other DLLs, where Windows looks for them.
  cp "$tree"/stage/lib/*.dll "$dependencies/bin/"
}

# As C++, as on Linux, so that its errors are exceptions.
build_lua() {
  local tree=$dependencies/lua
  fetch_source lua5.4 "$tree" || return 1
  local sources header
  rm "$tree/src/lua.c" "$tree/src/luac.c" # the two programs
  sources=("$tree"/src/*.c)
  mkdir -p "$dependencies/include/lua5.4" "$dependencies/lib/pkgconfig"
  for header in lua luaconf lualib lauxlib; do
    cp "$tree/src/$header.h" "$dependencies/include/lua5.4/" || return 1
  done
  "$crossCompiler" -O2 -shared -x c++ "${sources[@]}" -o "$dependencies/bin/lua5.4-c++.dll" \
    -Wl,--out-implib,"$dependencies/lib/liblua5.4-c++.dll.a" || return 1
  cat >"$dependencies/lib/pkgconfig/lua5.4-c++.pc" <<END
Name: Lua
Description: Lua, built as C++
Version: 5.4
Libs: -L$dependencies/lib -llua5.4-c++
Cflags: -I$dependencies/include/lua5.4
END
  rm -rf "$tree"
}

build_googletest() {
  cmake -G Ninja -S /usr/src/googletest -B "$dependencies/googletest" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$projectDir/cmake/windows-x64.cmake" -DCMAKE_INSTALL_PREFIX="$dependencies" \
    && cmake --build "$dependencies/googletest" --parallel "$jobs" \
    && cmake --install "$dependencies/googletest"
}

# Headers only.
copy_headers() {
  mkdir -p "$dependencies/include" "$dependencies/share/cmake" \
    && cp -r /usr/include/CLI /usr/include/nlohmann "$dependencies/include/" \
    && cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$dependencies/share/cmake/"
}

# The compiler's own DLLs, beside the others.
copy_runtime() {
  local name
  for name in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
    cp "$("$crossCompiler" -print-file-name="$name")" "$dependencies/bin/" || return 1
  done
}

# build_dependency NAME: runs the operation of that name, unless it has been done before.
build_dependency() {
  local name=$1 start=$SECONDS stamp=$dependencies/$1.done
  [ ! -e "$stamp" ] || return 0
  say "windows: $name ..."
  mkdir -p "$dependencies/bin"
  run_logged "$buildDir/log/windows-$name.log" "$name" || return
  touch "$stamp"
  printf '%-22s done in %d s\n' "$name" $((SECONDS - start))
}

# Boost takes the longest, and one processor for half of it.
build_dependencies() {
  local name boost status=0
  build_dependency build_boost &
  boost=$!
  for name in copy_runtime build_lua build_googletest copy_headers; do
    build_dependency "$name" || status=1
  done
  wait "$boost" || status=1
  return $status
}
