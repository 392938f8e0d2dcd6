# shellcheck shell=bash disable=SC2034 # what is not used here is used by the scripts that source it
# Sourced by the other scripts. Installs Debian packages that are not there yet.

# A package may be there for several architectures: one line for each.
is_installed() {
  dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# need_packages NAME...: installs what is missing; prints what, and asks nothing.
need_packages() {
  local missing=() name
  for name in "$@"; do
    is_installed "$name" || missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ]; then
    printf 'These packages are missing; install them as root: apt-get install %s\n' "${missing[*]}" >&2
    return 1
  fi
  printf '== Installing %s\n' "${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  refresh_package_lists
  apt_get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# apt-get, waiting while something else installs packages.
apt_get() {
  apt-get -o DPkg::Lock::Timeout=600 "$@"
}

refresh_package_lists() {
  apt_get update -qq || printf 'The package lists could not be refreshed; continuing with those that are there.\n' >&2
}

# Prints where this machine's own packages come from.
debian_mirror() {
  # shellcheck disable=SC2016 # apt replaces it
  apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' 'Component: main' |
    grep -v security | head -n 1
}

# What every build of the project needs.
build_packages=(cmake g++ libboost-dev libiniparser-dev ninja-build python3)

# What the tests need besides.
test_packages=(busybox-static libedit-dev libgmock-dev libgtest-dev libsodium-dev mandoc nlohmann-json3-dev python3 systemd)

# What the measurements and storms need besides.
bench_packages=(libbenchmark-dev nlohmann-json3-dev)

# build PRESET [TARGET...]: configures and builds; one line moves while all is well.
build() {
  local preset=$1
  shift
  printf '== Building (%s)\n' "$preset"
  cmake --preset "$preset" --log-level=WARNING >/dev/null # warnings and errors go elsewhere
  scripts/show-build --preset "$preset" ${1:+--target "$@"}
}

# run_tests PRESET [CTEST-ARGUMENT...]: runs tests that have been built. Most wait for something most of the time, so more
# of them run at once than there are processors.
run_tests() {
  scripts/run-tests --preset "$1" --parallel $((4 * $(nproc))) "${@:2}"
}
