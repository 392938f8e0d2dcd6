# Sourced by the other scripts. Makes this machine ready to build for another architecture and to run what it built.

target_packages_powerpc=(g++-powerpc-linux-gnu qemu-user)
target_packages_s390x=(g++-s390x-linux-gnu libgcc-s1:s390x libiniparser-dev:s390x libstdc++6:s390x qemu-user)
target_packages_i386=(g++-i686-linux-gnu libgcc-s1:i386 libiniparser-dev:i386 libstdc++6:i386)

# prepare_target powerpc|s390x|i386
prepare_target() {
  local -n packages=target_packages_$1
  [ "$1" = powerpc ] || need_architecture "$1"
  # GoogleTest's library comes for this machine only; its source serves every other.
  need_packages "${build_packages[@]}" "${test_packages[@]}" googletest "${packages[@]}"
  [ "$1" != powerpc ] || need_powerpc_iniparser
}

# Lets apt install libraries for another architecture beside this machine's own.
need_architecture() {
  if ! dpkg --print-foreign-architectures | grep -qx "$1"; then
    printf '== Adding the architecture %s to apt\n' "$1"
    dpkg --add-architecture "$1"
  fi
}

# Debian has no powerpc packages, so iniparser is built from source: the one of the next release, which is newer than the
# package of this one and can parse an open stream.
iniparser_version=4.2.6
iniparser_sha256=50be6754755ffe15cd5de4a26425b6ea571266efc7619e5986122e5349b3b0a9
iniparser_built=build/powerpc-libraries/usr

need_powerpc_iniparser() {
  [ ! -e "$iniparser_built/lib/libiniparser.a" ] || return 0
  printf '== Building iniparser %s for powerpc\n' "$iniparser_version"
  need_packages xz-utils
  local work
  work=$(mktemp -d)
  fetch_iniparser "$work"
  compile_iniparser "$work"
  rm -r "$work"
}

# From the same mirror as this machine's own packages.
fetch_iniparser() {
  local mirror
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | grep -v security | head -n 1)
  /usr/lib/apt/apt-helper -o APT::Sandbox::User=root download-file \
    "${mirror}pool/main/i/iniparser/iniparser_$iniparser_version.orig.tar.xz" "$1/iniparser.tar.xz" \
    "SHA256:$iniparser_sha256" >/dev/null
  tar -C "$1" -xf "$1/iniparser.tar.xz" --strip-components=1
}

compile_iniparser() {
  mkdir -p "$iniparser_built/lib" "$iniparser_built/include/iniparser"
  cp "$1"/src/*.h "$iniparser_built/include/iniparser"
  (
    cd "$1"
    powerpc-linux-gnu-gcc -Os -ffunction-sections -fdata-sections -fPIC -c src/*.c
    powerpc-linux-gnu-gcc -shared -Wl,-soname,libiniparser.so.4 -o libiniparser.so ./*.o
    powerpc-linux-gnu-ar rcs libiniparser.a ./*.o
  )
  cp "$1/libiniparser.so" "$1/libiniparser.a" "$iniparser_built/lib"
}
