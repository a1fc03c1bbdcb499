# The build without optimisation that coverage and mutants share. It is made from a copy of the sources, so that a bug
# can be put into them. To be sourced after lib.sh.

unoptimisedPackages=("${buildPackages[@]}" libgtest-dev libgmock-dev libvterm-dev rsync lld)
copy=$buildDir/unoptimised
unoptimisedTree=$copy/build/coverage

# The copy is brought up to date file by file, so that only what differs is built again.
copy_sources() {
  mkdir -p "$copy"
  rsync --recursive --links --perms --checksum --delete --exclude=/build --exclude=/.git "$projectDir/" "$copy/"
}

# build_unoptimised TARGET...: a mutant has little to compile and much to link, so with the quickest linker.
build_unoptimised() {
  check_place "$unoptimisedTree" \
    && (cd "$copy" && cmake --preset coverage -DTOVRINTIMER_BUILD_TESTS=ON -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld) \
    && cmake --build "$unoptimisedTree" --parallel "$jobs" --target "$@"
}
