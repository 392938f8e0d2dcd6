# shellcheck shell=bash disable=SC2034 # what is not used here is used by the scripts that source it
# A small kernel built from Debian's sources, and a G4 to run it: a 32-bit big-endian PowerPC, as the unit is.

source scripts/target.sh

machine_packages=(bc bison bzip2 cpio flex make qemu-system-ppc xz-utils)
preset=kernel-powerpc

# More arguments follow.
emulator=(qemu-system-ppc -M "mac99,via=cuda" -m 256 -accel tcg -vga none)
usb_controllers=(-device "usb-ehci,id=ehci" -device "pci-ohci,id=ohci,num-ports=8")
kernel_arguments=(console=ttyPZ0 MONITOR_PORT=/dev/ttyPZ1 "USB_CONTROLLERS=ehci,ohci" usbhid.quirks=0x0627:0x0001:0x0010)

kernel_config=$PWD/tests/kernel/machine/powerpc.config
kernel_source=linux-source-6.1

# Prints what make says of one file after the other as a count.
count_files() {
  awk '{ if (++count % 100 == 0) { printf "   %d files\n", count; fflush() } }'
}

# Calls make in the folder of the sources.
make_kernel() {
  nice make -C "$kernel_source" ARCH=powerpc CROSS_COMPILE=powerpc-linux-gnu- -j "$(nproc)" "$@"
}

# folder_of_kernel CACHE: prints a path named after the version of the sources and the configuration.
folder_of_kernel() {
  local version
  version=$(apt-cache show --no-all-versions "$kernel_source" 2>/dev/null | sed -n 's/^Version: //p')
  printf '%s/powerpc-%s-%s' "$1" "$version" "$(sha256sum "$kernel_config" | cut -c 1-8)"
}

# Builds the kernel in the current folder, whose path has no blanks: the kernel's makefiles allow none.
build_kernel() {
  printf '== Fetching %s\n' "$kernel_source"
  apt-get download -qq -o APT::Sandbox::User=root "$kernel_source"
  dpkg-deb --fsys-tarfile "$kernel_source"_*.deb | tar -xO "./usr/src/$kernel_source.tar.xz" | tar -xJ
  printf '== Building a kernel, this once (some minutes)\n'
  make_kernel KCONFIG_ALLCONFIG="$kernel_config" allnoconfig >/dev/null
  make_kernel vmlinux 2>make.log | count_files || tell_failed_build
  powerpc-linux-gnu-strip -o vmlinux "$kernel_source/vmlinux"
}

tell_failed_build() {
  printf 'It was not built:\n' >&2
  tail -n 20 make.log >&2
  return 1
}

# prepare_kernel CACHE: provides the compiler and the kernel; sets kernel_release and kernel_image.
prepare_kernel() {
  local folder work
  prepare_target powerpc
  folder=$(folder_of_kernel "$1")
  if [ ! -d "$folder" ]; then
    refresh_package_lists # the mirror may hold another version by now
    folder=$(folder_of_kernel "$1")
  fi
  kernel_release=${folder##*/}
  kernel_image=$folder/vmlinux
  [ ! -d "$folder" ] || return 0
  work=$(mktemp -d)
  (cd "$work" && build_kernel)
  mkdir -p "$folder.part"
  mv "$work/vmlinux" "$folder.part/"
  mv "$folder.part" "$folder"
  rm -r "$work"
}

# Debian has no BusyBox for this machine, so it is built from the source of its package for others.
busybox_version=1.35.0
busybox_sha256=faeeb244c35a348a334f4a59e44626ee870fb07b6884d68c10ae8bc19f83a694
busybox_config=$PWD/tests/kernel/machine/busybox.config

# Calls make in the folder of the sources, quietly.
make_busybox() {
  nice make -C "busybox-$busybox_version" CROSS_COMPILE=powerpc-linux-gnu- -j "$(nproc)" "$@" >>make.log 2>&1
}

# configure_busybox FILE: sets what stands in FILE, and nothing else.
configure_busybox() {
  local setting
  make_busybox allnoconfig
  while IFS= read -r setting; do
    sed -i "s|^# ${setting%%=*} is not set\$|$setting|" "busybox-$busybox_version/.config"
  done <"$1"
  make_busybox oldconfig < <(yes n 2>/dev/null)
}

# Builds BusyBox in the current folder.
build_busybox() {
  printf '== Building BusyBox %s for powerpc, this once\n' "$busybox_version"
  /usr/lib/apt/apt-helper -o APT::Sandbox::User=root download-file \
    "$(debian_mirror)pool/main/b/busybox/busybox_$busybox_version.orig.tar.bz2" busybox.tar.bz2 \
    "SHA256:$busybox_sha256" >/dev/null
  tar -xjf busybox.tar.bz2
  { configure_busybox "$busybox_config" && make_busybox busybox; } || tell_failed_build
  cp "busybox-$busybox_version/busybox" busybox
}

# prepare_busybox CACHE: sets busybox.
prepare_busybox() {
  local folder work
  folder=$1/powerpc-$busybox_version-$(sha256sum "$busybox_config" | cut -c 1-8)
  busybox=$folder/busybox
  [ ! -f "$busybox" ] || return 0
  work=$(mktemp -d)
  (cd "$work" && build_busybox)
  mkdir -p "$folder"
  mv "$work/busybox" "$busybox"
  rm -r "$work"
}

# This kernel has no modules.
add_modules() {
  :
}
