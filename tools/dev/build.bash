# For ./dev: configures and builds.

# What the first build for ./dev run takes, on one processor.
run_build_seconds=150

# The prefix of a command that may start a test. Under this compiler's thread sanitizer, programs do not start if
# the kernel randomises addresses over more than 28 bits.
launcher=(env)
fix_addresses() {
  local bits
  bits=$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28)
  if [ "$bits" -gt 28 ] && setarch -R true 2>/dev/null; then launcher=(setarch -R); fi
}

# A user can build only in a checkout where root or another user did not. Commands check this before they install.
expect_writable_build() {
  local path
  for path in "build/$1" build/lock build .; do
    [ -e "$path" ] || continue
    [ -w "$path" ] || fail "cannot write to $PWD/$path of user $(stat -c %U "$path"); use a checkout of your own"
    [ "$path" != build ] || return 0
  done
}

# Configures one preset of CMakePresets.json and builds all of it or the named targets. The lock serialises builds
# from several terminals, and shows ./dev shell that a build is running.
cmake_options=()
compile() {
  local preset=$1; shift
  mkdir -p build
  (
    flock -n 9 || { echo "dev: another build is running; waiting for it to finish" >&2; flock 9; }
    quietly cmake --preset "$preset" ${cmake_options[@]+"${cmake_options[@]}"} &&
      "${launcher[@]}" cmake --build --preset "$preset" ${1:+--target} "$@" >&2
  ) 9>build/lock
}

build() {
  expect_writable_build "$1"
  install_missing "${packages[@]}"
  compile "$@"
}

is_building() { [ -e build/lock ] && ! flock -n build/lock true; }

# Prepares a build of the programs and pages alone. A build directory has no tests, and needs no test library, until
# the first ./dev test.
prepare_tools() {
  expect_writable_build default
  install_missing "${run_packages[@]}" "$@"
  grep -qs '^BUILD_TESTING:[A-Z]*=ON' build/default/CMakeCache.txt || cmake_options=(-DBUILD_TESTING=OFF)
}

# Says how long the first build of ./dev run takes, before the packages for it are installed.
say_build_time() {
  local processors minutes missing after=
  [ ! -e build/default/bin/pallframe ] || return 0
  expect_writable_build default
  find_missing "${run_packages[@]}"
  [ ${#missing[@]} = 0 ] || after=", after the installation"
  processors=$(nproc)
  minutes=$(((run_build_seconds / processors + 59) / 60))
  echo "dev: the first build takes about $minutes min on $processors processors$after" >&2
}
