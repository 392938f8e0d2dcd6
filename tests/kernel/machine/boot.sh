# shellcheck shell=bash disable=SC2034,SC2154 # what is not set or not used here is set or used by the scripts that source it
# Sourced by the scripts that boot emulated machines: how a machine runs, and what became of its tests.

# set_machine_command SECONDS KERNEL-ARGUMENTS [ARGUMENT...]: sets machine_command to what runs a machine in the current
# folder, for so long at most. Its console is the command's output. Its monitor is at the other end of its second
# serial port, so that a program inside can plug devices itself. The kernel passes what it does not know of its
# arguments to the first process, as environment.
set_machine_command() {
  machine_command=(timeout --foreground --kill-after 10 "$1" "${emulator[@]}" -kernel "$kernel_image" -initrd initramfs
    -append "loglevel=3 panic=-1 ${kernel_arguments[*]} $2"
    -no-reboot -display none -nic none -audiodev "none,id=sound"
    -chardev "stdio,id=console,signal=off" -serial chardev:console
    -chardev "socket,id=monitor,path=monitor.socket,server=on,wait=off" -mon "chardev=monitor,mode=control"
    -chardev "socket,id=guest,path=monitor.socket" -serial chardev:guest "${@:3}")
}

# log_and_show_tests: shows the tests of the machine whose console is the input, and keeps all of it in guest.log.
log_and_show_tests() {
  sed --unbuffered 's|\r$||' | tee guest.log | "$show_guest_tests"
}

# check_tests FOLDER: fails unless the tests of the machine that ran there have passed, at least one of them.
check_tests() {
  local result
  result=$(sed -n 's/^guest result: //p' "$1/guest.log")
  grep -q '^\[  PASSED  \] [1-9]' "$1/guest.log" || result=${result/#0/no test has passed}
  [ "$result" != 0 ] || return 0
  printf 'Failed (%s). Logs of the machine: %s/guest.log, emulator.log\n' "${result:-no result}" "$1" >&2
  return 1
}
