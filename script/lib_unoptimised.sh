# The build without optimisation that coverage and mutants share. It is made from a copy of the sources, so that a bug
# can be put into them. To be sourced after lib.sh.

copy=$buildDir/unoptimised
unoptimisedTree=$copy/build/coverage

# The copy is brought up to date file by file, so that only what differs is built again.
copy_sources() {
  mkdir -p "$copy"
  rsync --recursive --links --perms --checksum --delete --exclude=/build --exclude=/.git "$projectDir/" "$copy/"
}

# build_unoptimised TARGET...
build_unoptimised() {
  check_place "$unoptimisedTree" \
    && (cd "$copy" && cmake --preset coverage -DTOVRINTIMER_BUILD_TESTS=ON) \
    && cmake --build "$unoptimisedTree" --parallel "$jobs" --target "$@"
}
