# The Debian packages in a system that has nothing else of this project, and nothing of this machine. To be sourced after
# lib_package.sh.

bare=$buildDir/bare
bareLog=$buildDir/log/bare.log
bareSuite=bookworm
# What builds a stranger's host; it comes from Debian before the packages do.
toolsOfStranger=(g++ make cmake pkg-config)

# in_bare COMMAND...: with mounts that nobody else sees, and that end with it.
in_bare() {
  as_root unshare --mount --propagation private sh -ec '
    bare=$1
    shift
    mount -t proc proc "$bare/proc"
    exec chroot "$bare" env -i HOME=/root LANG=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
  ' sh "$bare" "$@"
}

apt_in_bare() {
  in_bare apt-get -qq --yes --no-install-recommends "$@"
}

make_bare() {
  as_root rm -rf --one-file-system "$bare"
  run_logged "$bareLog" as_root unshare --mount --propagation private \
    debootstrap --variant=minbase "$bareSuite" "$bare" http://deb.debian.org/debian || return
  # Services have no place in there.
  printf '#!/bin/sh\nexit 101\n' | as_root tee "$bare/usr/sbin/policy-rc.d" >/dev/null
  as_root chmod +x "$bare/usr/sbin/policy-rc.d"
  as_root cp /etc/resolv.conf "$bare/etc/resolv.conf"
  run_logged "$bareLog" apt_in_bare update && run_logged "$bareLog" apt_in_bare install "${toolsOfStranger[@]}" || return
  as_root mkdir "$bare/packages"
  as_root cp "$packageDir"/*.deb "$bare/packages/"
}

# All files, and the packages; but for what Debian itself writes as packages come and go.
list_bare() {
  as_root find "$bare" -xdev \( -path "$bare/var/cache" -o -path "$bare/var/log" -o -path "$bare/var/lib/apt" -o -path "$bare/tmp" \
    -o -path "$bare/proc" \) -prune -o -printf '/%P\n' | grep -v -e '^/var/lib/dpkg/.*-old$' | sort
  in_bare dpkg-query -W -f '${Package} ${db:Status-Status}\n'
}

stranger_with_cmake() {
  run_logged "$bareLog" in_bare sh -ec '
    cp -r /usr/share/doc/tovrintimer/examples/host /tmp/with-cmake
    cmake -S /tmp/with-cmake -B /tmp/with-cmake/build
    cmake --build /tmp/with-cmake/build --parallel '"$jobs"'
    ctest --test-dir /tmp/with-cmake/build --output-on-failure --no-tests=error'
}

stranger_with_pkg_config() {
  run_logged "$bareLog" in_bare sh -ec '
    cp -r /usr/share/doc/tovrintimer/examples/host /tmp/with-pkg-config
    cd /tmp/with-pkg-config
    g++ -std=c++20 -DTOVRINHOST_BUILD main.cpp Data.cpp Engine.cpp Log.cpp Services.cpp \
      $(pkg-config --cflags --libs tovrintimer) -o host
    ./host'
}

runs_a_script() {
  in_bare tovrin --version && in_bare tovrin run /usr/share/doc/tovrin/examples/tour.lua \
    && in_bare tovrin plan /usr/share/doc/tovrin/examples/fixed_rate_drop.lua --for 1h
}

nothing_is_left() {
  ! list_bare | diff -q "$buildDir/log/bare-before.txt" - >/dev/null || return # while they are there, the list tells
  run_logged "$bareLog" apt_in_bare purge tovrin libtovrintimer-dev 'libtovrintimer0*' \
    && run_logged "$bareLog" apt_in_bare autoremove --purge \
    && list_bare | diff "$buildDir/log/bare-before.txt" -
}

try_in_bare_system() {
  install_packages "${buildPackages[@]}" dpkg-dev lintian debootstrap
  build_deb
  : >"$bareLog"
  say "Setting a bare Debian up in $bare ..."
  make_bare
  list_bare >"$buildDir/log/bare-before.txt"
  check "the packages install, with what they depend on" \
    run_logged "$bareLog" apt_in_bare install $(cd "$packageDir" && printf '/packages/%s ' *.deb)
  check "scripts run" runs_a_script
  check "a stranger's host is built with CMake, and runs" stranger_with_cmake
  check "a stranger's host is built with pkg-config, and runs" stranger_with_pkg_config
  check "nothing is left of them once they are removed" nothing_is_left
  as_root rm -rf --one-file-system "$bare"
}
