# shellcheck shell=bash disable=SC2154 # what is not set here is set by the scripts that source it
# Sourced by the scripts that boot emulated machines: what stands in a machine's root folder.

# install_unit BUILD-FOLDER ROOT: unpacks the archive for a unit over the root folder.
install_unit() {
  local packages=$1/packages
  rm -rf "$packages"
  cpack --config "$1/CPackConfig.cmake" -G TGZ -B "$packages" >"$1/cpack.log" 2>&1 || { cat "$1/cpack.log" >&2; exit 1; }
  tar -C "$2" -xzf "$packages"/*.tar.gz
}

# add_first_process BUILD-FOLDER ROOT: what makes the system and runs one program.
add_first_process() {
  cp "$1/tests/kernel/usb_rx_init" "$2/init"
}

# add_busybox ROOT APPLET...: BusyBox, and the names by which it is called.
add_busybox() {
  local root=$1 applet
  mkdir -p "$root/bin"
  cp "$busybox" "$root/bin/busybox"
  for applet in "${@:2}"; do
    ln -s busybox "$root/bin/$applet"
  done
}

# pack_root ROOT FILE: makes the initramfs.
pack_root() {
  (cd "$1" && find . -print0 | cpio --null --create --format=newc --owner=0:0 --quiet) >"$2"
}

# add_programs ROOT PROGRAM...: programs of this machine, where they are here, and the libraries that they need.
add_programs() {
  local root=$1 program file
  for program in "${@:2}"; do
    { printf '%s\n' "$program"; ldd "$program" | grep -o '/[^ ]*'; } | while read -r file; do
      [ -e "$root$file" ] || install -D "$file" "$root$file"
    done
  done
}
