# shellcheck shell=bash disable=SC2034 # what is not used here is used by scripts/test-kernel
# A small kernel built from Debian's sources, and a G4 to run it: a 32-bit big-endian PowerPC, as the unit is.

source scripts/target.sh

machine_packages=(bc bison cpio flex make qemu-system-ppc xz-utils)
preset=kernel-powerpc

# More arguments follow.
emulator=(qemu-system-ppc -M "mac99,via=cuda" -m 256 -accel tcg -vga none -device "usb-ehci,id=ehci"
  -device "pci-ohci,id=ohci,num-ports=8")
kernel_arguments=(console=ttyPZ0 MONITOR_PORT=/dev/ttyPZ1 "USB_CONTROLLERS=ehci,ohci" usbhid.quirks=0x0627:0x0001:0x0010)

kernel_config=$PWD/kernel/machine/powerpc.config
kernel_source=linux-source-6.1

# Prints what make says of one file after the other as a count.
count_files() {
  awk '{ if (++count % 100 == 0) { printf "   %d files\n", count; fflush() } }'
}

# Calls make in the folder of the sources.
make_kernel() {
  nice make -C "$kernel_source" ARCH=powerpc CROSS_COMPILE=powerpc-linux-gnu- -j "$(nproc)" "$@"
}

# Builds the kernel in the current folder.
build_kernel() {
  printf '== Fetching %s\n' "$kernel_source"
  apt-get download -qq -o APT::Sandbox::User=root "$kernel_source"
  dpkg-deb --fsys-tarfile "$kernel_source"_*.deb | tar -xO "./usr/src/$kernel_source.tar.xz" | tar -xJ
  printf '== Building a kernel, this once (some minutes)\n'
  make_kernel KCONFIG_ALLCONFIG="$kernel_config" allnoconfig >/dev/null
  make_kernel vmlinux 2>make.log | count_files
  powerpc-linux-gnu-strip -o vmlinux "$kernel_source/vmlinux"
}

# prepare_kernel CACHE: provides the compiler and the kernel, the latter in a folder named by the version of the sources and by the configuration;
# sets kernel_release and kernel_image.
prepare_kernel() {
  local version folder
  prepare_target powerpc
  version=$(apt-cache show --no-all-versions "$kernel_source" | sed -n 's/^Version: //p')
  folder=$1/powerpc-$version-$(sha256sum "$kernel_config" | cut -c 1-8)
  kernel_release="$version for powerpc"
  kernel_image=$folder/vmlinux
  [ ! -f "$kernel_image" ] || return 0
  rm -rf "$folder" "$folder.part"
  mkdir -p "$folder.part"
  (cd "$folder.part" && build_kernel)
  mkdir "$folder"
  mv "$folder.part/vmlinux" "$folder/"
  rm -rf "$folder.part"
}

# This kernel has no modules.
add_modules() {
  :
}
