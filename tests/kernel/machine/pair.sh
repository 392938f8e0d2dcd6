# shellcheck shell=bash disable=SC2034,SC2154 # what is not used here is used by scripts that source it; what is not set, by those before
# Two machines of amd64.sh, joined by a wire: the receiver, whose USB devices travel, and the far machine, where they
# arrive. A program on the receiver plugs the devices, cuts the wire, and has the far machine carry out commands.
# Sourced after packages.sh, amd64.sh, root.sh and boot.sh, by scripts that call start_pair and run_on_receiver.

# However the script ends, the far machine ends with it, and temporary files are removed.
far_machine=
TMPDIR=$(mktemp -d)
export TMPDIR
end_pair() {
  if [ -n "$far_machine" ]; then
    kill "$far_machine" 2>/dev/null || true
    wait "$far_machine" || true
  fi
  rm -rf "$TMPDIR"
}
trap end_pair EXIT

PATH+=:/usr/sbin:/sbin # depmod and modprobe
pair_files=$PWD/tests/kernel/pair/root
pair_packages=(usbip)
kernels_tools=(/usr/sbin/usbip /usr/sbin/usbipd) # what the two programs are compared with
wire_drivers=(virtio_pci virtio_net)
receiver_drivers=("${drivers[@]}" usbip-host "${wire_drivers[@]}")
far_drivers=(vhci-hcd hid-generic usbhid evdev usb-storage uas sd_mod "${wire_drivers[@]}")

# make_root BUILD-FOLDER ROOT DRIVER...: what both machines have.
make_root() {
  local drivers=("${@:3}") applets
  mapfile -t applets < <("$busybox" --list | grep -vx busybox)
  add_first_process "$1" "$2"
  add_busybox "$2" "${applets[@]}"
  add_modules "$2"
  mkdir -p "$2/etc" "$2/usr/sbin"
  cp "$pair_files/hosts" "$2/etc/"
  printf 'hosts: files\n' >"$2/etc/nsswitch.conf"
  add_programs "$2" "${kernels_tools[@]}"
  cp "$pair_files/join_wire" "$pair_files/serve_commands" "$2/bin/"
}

# make_receiver_root BUILD-FOLDER ROOT PROGRAM...: programs are copied to /bin.
make_receiver_root() {
  install_unit "$1" "$2"
  make_root "$1" "$2" "${receiver_drivers[@]}"
  cp "$1/examples/usbip/receiver/usb_rx_usbip" "$2/usr/sbin/"
  cp "${@:3}" "$2/bin/"
}

# make_far_root BUILD-FOLDER ROOT
make_far_root() {
  make_root "$1" "$2" "${far_drivers[@]}"
  cp "$1/examples/usbip/transmitter/usb_tx_usbip" "$2/usr/sbin/"
}

# make_pair BUILD-FOLDER FOLDER PROGRAM...: makes a folder with both machines; programs are copied to the receiver's /bin.
make_pair() {
  local receiver_root far_root
  receiver_root=$(mktemp -d)
  far_root=$(mktemp -d)
  rm -rf "$2"
  mkdir -p "$2/receiver/media" "$2/far"
  head -c 8M /dev/urandom >"$2/receiver/random.disk"
  truncate -s 8M "$2/receiver/blank.disk"
  make_receiver_root "$1" "$receiver_root" "${@:3}"
  make_far_root "$1" "$far_root"
  pack_root "$receiver_root" "$2/receiver/initramfs"
  pack_root "$far_root" "$2/far/initramfs"
}

# set_pair_machine_command SECONDS KERNEL-ARGUMENTS IS-SERVER MAC [ARGUMENT...]: the wire and the far machine's commands pass
# through sockets of the folder above; a machine is at one end of each. A hub stands between the wire and the network
# card, so that the card has its carrier even while the wire is cut. With RDRAND a machine has random bytes at once; it would
# take a second or two to collect some.
set_pair_machine_command() {
  set_machine_command "$1" "$2" -cpu qemu64,+rdrand -netdev "stream,id=wire,server=$3,addr.type=unix,addr.path=../wire.socket" \
    -netdev "hubport,id=outer,hubid=1,netdev=wire" -netdev "hubport,id=inner,hubid=1" \
    -device "virtio-net-pci,netdev=inner,romfile=,mac=$4" "${@:5}"
}

# start_far_machine SECONDS: starts it, and returns when the receiver can be joined to it; sets far_machine.
start_far_machine() {
  set_pair_machine_command "$1" 'PROGRAM="/bin/join_wire 2 /bin/serve_commands /dev/ttyS2"' on 52:54:00:00:00:02 \
    -chardev "socket,id=commands,path=../commands.socket,server=on,wait=off" -serial chardev:commands
  (cd "$pair_folder/far" && exec "${machine_command[@]}" </dev/null >guest.log 2>emulator.log) &
  far_machine=$!
  until [ -S "$pair_folder/wire.socket" ] && [ -S "$pair_folder/commands.socket" ]; do
    kill -0 "$far_machine" || { cat "$pair_folder/far/emulator.log" >&2; return 1; }
    sleep 0.1
  done
}

# start_pair PROGRAM SECONDS: builds everything, with a program of the build folder for the receiver, and boots the far
# machine, for so long at most. Sets pair_folder.
start_pair() {
  need_packages "${build_packages[@]}" "${test_packages[@]}" "${machine_packages[@]}" "${pair_packages[@]}"
  prepare_kernel "$PWD/build/kernels"
  prepare_busybox "$PWD/build/busybox"
  build "$preset"
  pair_folder=$PWD/build/$preset/pair
  make_pair "build/$preset" "$pair_folder" "build/$preset/$1"
  printf '== Booting two machines with Linux %s\n' "$kernel_release"
  start_far_machine "$2"
}

# run_on_receiver PROGRAM SECONDS SETTINGS: boots the receiver, runs the program (with its arguments) there, with settings as
# NAME=VALUE in its environment, and switches it off. Its console is the output.
run_on_receiver() {
  local random_disk
  random_disk=$(sha256sum <"$pair_folder/receiver/random.disk")
  set_pair_machine_command "$2" \
    "PROGRAM=\"/bin/join_wire 1 /bin/$1\" FAR_PORT=/dev/ttyS2 RANDOM_DISK_SHA256=${random_disk%% *} $3" \
    off 52:54:00:00:00:01 \
    -chardev "socket,id=commands,path=../commands.socket" -serial chardev:commands "${usb_controllers[@]}"
  (cd "$pair_folder/receiver" && exec "${machine_command[@]}" </dev/null 2>emulator.log)
}
