# shellcheck shell=bash disable=SC2034 # what is not used here is used by the scripts that source it
# Debian's own kernel, and a PC to run it.

machine_packages=(busybox-static cpio kmod qemu-system-x86)
preset=kernel

# More arguments follow. The emulation has no hardware to help it: not every host has some.
emulator=(qemu-system-x86_64 -M pc -m 256 -accel tcg -vga none)
usb_controllers=(-device "qemu-xhci,id=xhci,p2=4,p3=4" -device "usb-ehci,id=ehci"
  -device "pci-ohci,id=ohci,num-ports=8" -device "piix3-usb-uhci,id=uhci")
kernel_arguments=(console=ttyS0 MONITOR_PORT=/dev/ttyS1 "USB_CONTROLLERS=xhci,ehci,ohci,uhci")

# Drivers that are modules, in the order in which they are loaded; those that they need in turn come by themselves.
drivers=(xhci-pci ehci-pci ohci-pci uhci-hcd hid-generic usbhid usb-storage uas sd_mod sg)

# Every HID device gets a hiddev node, which the kernel otherwise keeps for those without an input node.
usbhid_options="quirks=0x0627:0x0001:0x0010"

# Prints the name of the package that holds the distribution's kernel at present.
kernel_package() {
  apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)$/\1/p' | head -n 1
}

# Unpacks the package into a folder.
fetch_kernel() {
  local package=$1 folder=$2
  printf '== Fetching %s\n' "$package"
  rm -rf "$folder.part"
  mkdir -p "$folder.part"
  (cd "$folder.part" && apt-get download -qq -o APT::Sandbox::User=root "$package" && dpkg-deb -x ./*.deb .)
  rm "$folder.part"/*.deb
  depmod -b "$folder.part" "${package#linux-image-}"
  mv "$folder.part" "$folder"
}

# prepare_kernel CACHE: provides the kernel; sets kernel_folder, kernel_release and kernel_image.
prepare_kernel() {
  local package
  package=$(kernel_package)
  if [ -z "$package" ] || [ ! -d "$1/$package" ]; then
    refresh_package_lists # the mirror may hold another one by now
    package=$(kernel_package)
  fi
  kernel_folder=$1/$package
  kernel_release=${package#linux-image-}
  kernel_image=$kernel_folder/boot/vmlinuz-$kernel_release
  [ -d "$kernel_folder" ] || fetch_kernel "$package" "$kernel_folder"
}

# prepare_busybox CACHE: sets busybox.
prepare_busybox() {
  busybox=/usr/bin/busybox
}

# Prints the files of the drivers and of what they need, each once and behind what it needs; without those that only
# make them faster on some processors.
module_files() {
  local driver
  for driver in "${drivers[@]}"; do
    modprobe --dirname "$kernel_folder" --set-version "$kernel_release" --show-depends --ignore-install "$driver"
  done | sed -n 's/^insmod \([^ ]*\).*/\1/p' | grep -v /arch/ | awk '!seen[$0]++'
}

# add_modules ROOT: puts the modules into the guest's root folder, and the list by which they are loaded.
add_modules() {
  local root=$1 file options
  mkdir "$root/modules"
  module_files | while read -r file; do
    cp "$file" "$root/modules/"
    options=
    [[ $file != */usbhid.ko ]] || options=" $usbhid_options"
    printf '/modules/%s%s\n' "${file##*/}" "$options"
  done >"$root/modules.list"
}
