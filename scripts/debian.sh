# shellcheck shell=bash disable=SC2154 # what is not set here is set by packages.sh
# Sourced by the other scripts, behind packages.sh. Runs scripts with a root folder of a release of Debian.
# A bare root folder is made once for each release, under build/debian/RELEASE, from the mirror of this machine's own packages, and is
# never changed again. What runs in it changes a layer over it. To start anew, remove that folder.

debian_folder=$PWD/build/debian

# Prints what debootstrap says of one package after the other as a count; the whole is in a log.
count_packages() {
  tee "$1" |
    awk '/^I: (Validating|Unpacking|Configuring) [^a-z]*[a-z0-9.+-]+\.\.\.$/ {
           if (++count % 50 == 0) { printf "   %d steps\n", count; fflush() } }'
}

# make_bare_root RELEASE
make_bare_root() {
  local folder=$debian_folder/$1
  printf '== Making a root folder of Debian %s, this once (some minutes)\n' "$1"
  need_packages debian-archive-keyring debootstrap
  rm -rf "$folder/bare.part"
  mkdir -p "$folder"
  if ! debootstrap --variant=minbase --keyring=/usr/share/keyrings/debian-archive-keyring.gpg \
    "$1" "$folder/bare.part" "$(debian_mirror)" 2>&1 | count_packages "$folder/debootstrap.log"; then
    printf 'The root folder was not made; the last lines of %s:\n' "$folder/debootstrap.log" >&2
    tail -n 10 "$folder/debootstrap.log" >&2
    return 1
  fi
  mv "$folder/bare.part" "$folder/bare"
}

# forget_layer RELEASE LAYER: the next script of that layer finds a bare root folder.
forget_layer() {
  rm -rf "${debian_folder:?}/$1/$2"
}

# in_debian RELEASE LAYER HOW SCRIPT [ARGUMENT...]: runs a script of the project with such a root folder; HOW is "inside" or
# "booted", see scripts/enter-root. The mounts and the processes are in namespaces of their own, so they end with this
# script, however that ends. unshare itself ignores the usual signals.
in_debian() {
  local folder=$debian_folder/$1 namespaces
  if [ "$(id -u)" -ne 0 ]; then
    printf 'This makes a root folder and mounts in it, so it has to be run by root.\n' >&2
    return 1
  fi
  [ -d "$folder/bare" ] || make_bare_root "$1"
  mkdir -p "$folder/$2"/{build,changes,root,work}
  unshare --mount --propagation private --pid --fork --kill-child \
    scripts/enter-root "$folder/bare" "$folder/$2" "${@:3}" &
  namespaces=$!
  # shellcheck disable=SC2064 # the number is the one of now
  trap "kill -KILL $namespaces 2>/dev/null || true" EXIT
  trap 'exit 1' INT TERM HUP
  wait $namespaces
}
