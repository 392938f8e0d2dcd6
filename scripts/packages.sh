# Sourced by the other scripts. Installs Debian packages that are not there yet.

# A package may be there for several architectures: one line for each.
is_installed() {
  dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# need_packages NAME...: installs what is missing; says what, and asks nothing.
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
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

refresh_package_lists() {
  apt-get update -qq || printf 'Going on with the package lists that are there.\n' >&2
}

# What every build of the project needs.
build_packages=(cmake g++ libboost-dev libiniparser-dev ninja-build)

# What the tests need besides.
test_packages=(libedit-dev libgmock-dev libgtest-dev)

# build PRESET [TARGET...]: configures and builds, quietly while all is well.
build() {
  local preset=$1
  shift
  printf '== Building (%s)\n' "$preset"
  cmake --preset "$preset" --log-level=WARNING
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
