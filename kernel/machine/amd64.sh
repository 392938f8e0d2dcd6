# Sourced by scripts/test-kernel: Debian's own kernel, and a PC to run it.

machine_packages=(cpio kmod qemu-system-x86)
preset=kernel
monitor_port=/dev/ttyS1
usb_controllers=xhci,ehci,ohci,uhci

# Drivers that are modules, in the order of their need; those that they need in turn come by themselves.
drivers=(xhci-pci ehci-pci ohci-pci uhci-hcd hid-generic usbhid usb-storage uas sd_mod sg)

# Prints the name of the package that the distribution's kernel is in at the moment.
kernel_package() {
  apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)$/\1/p' | head -n 1
}

# Unpacks the kernel into a folder of the cache, if it is not there yet, and sets `kernel_release` and `kernel_image`.
prepare_kernel() {
  local cache=$1 package folder
  package=$(kernel_package)
  [ -n "$package" ] || { printf 'The package lists know no kernel: apt-get update\n' >&2; return 1; }
  folder=$cache/$package
  if [ ! -d "$folder" ]; then
    printf '== Fetching %s\n' "$package"
    mkdir -p "$cache/download"
    (cd "$cache/download" && apt-get download -qq -o APT::Sandbox::User=root "$package")
    dpkg-deb -x "$cache/download/$package"_*.deb "$folder.part"
    depmod -b "$folder.part" "${package#linux-image-}"
    mv "$folder.part" "$folder"
    rm -r "$cache/download"
  fi
  kernel_release=${package#linux-image-}
  kernel_image=$folder/boot/vmlinuz-$kernel_release
  kernel_folder=$folder
}

# Prints the drivers' modules and those that they need, each once and behind what it needs; without those that would
# only make them faster on some processors.
module_files() {
  local driver
  for driver in "${drivers[@]}"; do
    modprobe --dirname "$kernel_folder" --set-version "$kernel_release" --show-depends --ignore-install "$driver"
  done | sed -n 's/^insmod \([^ ]*\).*/\1/p' | grep -v /arch/ | awk '!seen[$0]++'
}

# Puts the modules into the guest's root folder, and the list by which it loads them.
add_modules() {
  local root=$1 file options
  mkdir -p "$root/modules"
  module_files | while read -r file; do
    cp "$file" "$root/modules/"
    options=
    # Every HID device gets a hiddev node, which the kernel otherwise keeps for those without an input node.
    [[ $file != */usbhid.ko ]] || options=" quirks=0x0627:0x0001:0x0010"
    printf '/modules/%s%s\n' "${file##*/}" "$options"
  done >"$root/modules.list"
}

# The machine; more arguments follow.
emulator=(qemu-system-x86_64 -M pc -m 256 -accel tcg -vga none
  -device "qemu-xhci,id=xhci,p2=4,p3=4" -device "usb-ehci,id=ehci" -device "pci-ohci,id=ohci,num-ports=8"
  -device "piix3-usb-uhci,id=uhci")
console="console=ttyS0"
