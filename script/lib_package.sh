# How script/package builds and looks at packages. To be sourced after lib.sh and lib_windows.sh; expects the number of
# jobs in `jobs`.

packageDir=$buildDir/packages
passed=0
failed=0
umask 022

# All that tells a time tells that of the sources.
if [ -z "${SOURCE_DATE_EPOCH-}" ]; then
  SOURCE_DATE_EPOCH=$(git -C "$projectDir" log -1 --format=%ct 2>/dev/null || stat -c %Y "$projectDir/CHANGELOG.md")
fi
export SOURCE_DATE_EPOCH

# check NAME COMMAND...: one that passes, or fails.
check() {
  local name=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
    echo "passed: $name"
  else
    failed=$((failed + 1))
    echo "FAILED: $name"
  fi
}

# pack KIND PRESET TREE ARGUMENT...: builds what is installed, as the arguments of cmake have it, and packs it. What is
# compiled is the same for all packages of a system: they share a build folder.
pack() {
  local kind=$1 preset=$2 tree=$3 log=$buildDir/log/package-$1.log
  shift 3
  mkdir -p "$packageDir" "$buildDir/log"
  : >"$log"
  say "$kind: building ..."
  check_place "$tree"
  run_logged "$log" configure "$preset" -B "$tree" -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$tree/bin" \
    -DTOVRINTIMER_BUILD_TESTS=OFF "$@"
  run_build "$log" cmake --build "$tree" --parallel "$jobs"
  rm -rf "$tree/cpack"
  run_logged "$log" cpack -G "${kind^^}" --config "$tree/CPackConfig.cmake" -B "$tree/cpack"
}

# keep SUFFIX TREE: what has been packed there, in place of earlier packages.
keep() {
  rm -f "$packageDir"/*"$1"
  mv "$2"/cpack/*"$1" "$packageDir/"
  ls "$packageDir"/*"$1"
}

# Where Debian keeps files, and as its loader finds them.
build_deb() {
  local tree=$buildDir/package
  install_packages "${buildPackages[@]}" dpkg-dev lintian
  pack deb release "$tree" -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)" \
    -DCMAKE_SKIP_INSTALL_RPATH=ON
  keep .deb "$tree"
  check "lintian finds no error in the Debian packages" lintian --allow-root --fail-on error "$packageDir"/*.deb
}

build_tgz() {
  local tree=$buildDir/package
  install_packages "${buildPackages[@]}"
  pack tgz release "$tree" -DCMAKE_INSTALL_PREFIX=/usr/local -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_SKIP_INSTALL_RPATH=OFF
  keep .tar.gz "$tree"
  check "the program runs where the archive is unpacked" run_unpacked
}

run_unpacked() {
  local place=$packageDir/unpacked tour=share/doc/tovrin/examples/tour.lua
  rm -rf "$place"
  mkdir -p "$place"
  tar -xf "$packageDir"/*.tar.gz --strip-components=1 -C "$place" \
    && "$place/bin/tovrin" run "$place/$tour" \
    && "$place/bin/tovrin" run --clock virtual "$place/$tour" \
    && rm -r "$place"
}

build_zip() {
  local tree=$buildDir/package-windows
  install_packages "${windowsPackages[@]}" "${buildPackages[@]}"
  build_dependencies
  pack zip windows "$tree" -DTOVRINTIMER_DLL_FOLDER="$dependencies/bin"
  keep .zip "$tree"
  check "the archive for Windows has all DLLs that are asked for in it" has_all_dlls
  check "its program runs where it is unpacked" run_unpacked_by_wine
}

unpack_zip() {
  rm -rf "$packageDir/unpacked"
  mkdir -p "$packageDir/unpacked"
  (cd "$packageDir/unpacked" && cmake -E tar xf "$packageDir"/*.zip)
}

# Every DLL that a file in the archive asks for is in there, too, or comes with Windows: Wine has it, or it stands for a set
# of others.
has_all_dlls() {
  local missing
  unpack_zip || return
  missing=$(find "$packageDir/unpacked" -name '*.exe' -o -name '*.dll' | xargs -d '\n' x86_64-w64-mingw32-objdump -p \
    | sed -n 's/^\s*DLL Name: //p' | sort --unique --ignore-case | grep -v '^api-ms-win-' \
    | while read -r name; do
      find "$packageDir/unpacked"/*/bin /usr/lib/x86_64-linux-gnu/wine/x86_64-windows -iname "$name" | grep -q . || echo "$name"
    done)
  [ -z "$missing" ] || say "missing: $missing"
  [ -z "$missing" ]
}

# By a Wine of its own, which knows no other place for DLLs.
run_unpacked_by_wine() {
  local place log=$buildDir/log/package-wine.log
  export WINEPREFIX=$buildDir/package-wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
  unpack_zip || return
  place=$(echo "$packageDir"/unpacked/*)
  mkdir -p "$WINEPREFIX"
  trap 'wineserver --kill || true' EXIT
  (cd "$place/share/doc/tovrin/examples" && run_logged "$log" wineboot --init \
    && timeout 120 wine "$place/bin/tovrin.exe" run tour.lua \
    && timeout 120 wine "$place/bin/tovrin.exe" run --clock virtual tour.lua)
}

# A copy of the sources, as a stranger has them.
copy_sources_to() {
  rm -rf "$1"
  mkdir -p "$1"
  tar -C "$projectDir" --exclude=./build --exclude=./.git -cf - . | tar -C "$1" -xf -
}

build_twice() {
  local place places=(here in/another/folder)
  for place in "${places[@]}"; do
    copy_sources_to "$buildDir/twice/$place"
  done
  for place in "${places[@]}"; do
    "$buildDir/twice/$place/script/package" -j "$jobs" deb tgz
    (cd "$buildDir/twice/$place/build/packages" && sha256sum ./*.deb ./*.tar.gz) | tee "$buildDir/twice/${place##*/}.sha256"
  done
  check "two folders give the same packages" diff "$buildDir"/twice/{here,folder}.sha256
}
