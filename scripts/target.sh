# shellcheck shell=bash disable=SC2154 # what is not set here is set by packages.sh
# Sourced by the other scripts, behind packages.sh. Makes this machine ready to build for another architecture and to run what it built.

# shellcheck disable=SC2034 # by way of a reference
target_packages_powerpc=(g++-powerpc-linux-gnu qemu-user)
# shellcheck disable=SC2034
target_packages_s390x=(g++-s390x-linux-gnu libgcc-s1:s390x libiniparser-dev:s390x libstdc++6:s390x qemu-user)
# shellcheck disable=SC2034
target_packages_i386=(g++-i686-linux-gnu libgcc-s1:i386 libiniparser-dev:i386 libstdc++6:i386)

# prepare_target powerpc|s390x|i386
prepare_target() {
  local -n packages=target_packages_$1 # one of those above
  [ "$1" = powerpc ] || need_architecture "$1"
  # GoogleTest's library comes for this machine only; its source serves every other.
  need_packages "${build_packages[@]}" "${test_packages[@]}" googletest "${packages[@]}"
  [ "$1" != powerpc ] || need_powerpc_iniparser
}

# Lets apt install libraries for another architecture beside this machine's own.
need_architecture() {
  if [ "$(id -u)" -eq 0 ] && ! dpkg --print-foreign-architectures | grep -qx "$1"; then
    printf '== Adding the architecture %s to apt\n' "$1"
    dpkg --add-architecture "$1"
  fi
}

# Debian has no powerpc packages, so iniparser is built from source: the one of the next release, which is newer than the
# package of this one and can parse an open stream.
iniparser_version=4.2.6
iniparser_sha256=50be6754755ffe15cd5de4a26425b6ea571266efc7619e5986122e5349b3b0a9
powerpc_libraries=build/powerpc-libraries # where cmake/toolchains/powerpc.cmake looks

need_powerpc_iniparser() {
  local part=$powerpc_libraries.part
  [ "$(cat "$powerpc_libraries/iniparser" 2>/dev/null)" != "$iniparser_version" ] || return 0
  printf '== Building iniparser %s for powerpc\n' "$iniparser_version"
  need_packages xz-utils
  rm -rf "$powerpc_libraries" "$part"
  mkdir -p "$part/source"
  fetch_iniparser "$part/source"
  compile_iniparser "$part/source" "$part/usr"
  rm -r "$part/source"
  printf '%s\n' "$iniparser_version" >"$part/iniparser"
  mv "$part" "$powerpc_libraries"
}

# fetch_iniparser FOLDER: from the same mirror as this machine's own packages.
fetch_iniparser() {
  /usr/lib/apt/apt-helper -o APT::Sandbox::User=root download-file \
    "$(debian_mirror)pool/main/i/iniparser/iniparser_$iniparser_version.orig.tar.xz" "$1.tar.xz" \
    "SHA256:$iniparser_sha256" >/dev/null
  tar -C "$1" -xf "$1.tar.xz" --strip-components=1
  rm "$1.tar.xz"
}

# compile_iniparser SOURCES FOLDER
compile_iniparser() {
  mkdir -p "$2/lib" "$2/include/iniparser"
  cp "$1"/src/*.h "$2/include/iniparser"
  (
    cd "$1" || exit 1
    powerpc-linux-gnu-gcc -Os -ffunction-sections -fdata-sections -fPIC -c src/*.c
    powerpc-linux-gnu-gcc -shared -Wl,-soname,libiniparser.so.4 -o libiniparser.so.4 ./*.o
    powerpc-linux-gnu-ar rcs libiniparser.a ./*.o
  )
  cp "$1/libiniparser.so.4" "$1/libiniparser.a" "$2/lib"
  ln -s libiniparser.so.4 "$2/lib/libiniparser.so"
}
