#!/usr/bin/env bash
# A machine with a real Bluetooth stack: Debian's kernel with two virtual controllers, D-Bus and bluetoothd,
# in an emulator. It lives in memory alone.
#
# usage: machine.sh FOLDER COMMAND [FILE …]
# Runs COMMAND in the machine, in a folder with the FILEs, and ends with its exit status. What the machine
# consists of is built into FOLDER once.
set -euo pipefail
folder=$(mkdir -p "$1" && cd "$1" && pwd)
command=$2
shift 2

root=()
[ "$(id -u)" = 0 ] || root=(sudo)

build() {
  local work=$folder/work kernel version
  rm -rf "$work" && mkdir -p "$work"
  "${root[@]}" apt-get -qq update
  kernel=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-.*\)/\1/p' | head -1)
  (cd "$work" && apt-get -qq -o APT::Sandbox::User=root download "$kernel" && dpkg-deb -x "$kernel"_*.deb kernel)
  version=$(ls "$work/kernel/lib/modules")
  "${root[@]}" mmdebstrap --quiet --variant=minbase --aptopt='APT::Sandbox::User "root"' \
    --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/locale/*' \
    --include=dbus,bluez,bluez-test-tools,iproute2,kmod,python3-minimal,libpython3-stdlib,libglib2.0-bin bookworm "$work/root"
  # The controllers need few of the kernel's modules, in this order.
  depmod -b "$work/kernel" "$version"
  for module in hci_vhci cmac ecb algif_hash algif_skcipher; do
    modprobe -d "$work/kernel" -S "$version" --show-depends "$module"
  done | sed -n 's/^insmod //p' | awk '!seen[$1]++ { print $1 }' >"$work/modules"
  "${root[@]}" mkdir "$work/root/modules"
  while read -r module; do
    "${root[@]}" cp "$module" "$work/root/modules/"
    basename "$module"
  done <"$work/modules" >"$work/order"
  "${root[@]}" cp "$work/order" "$work/root/modules/"
  (cd "$work/root" && "${root[@]}" find . | "${root[@]}" cpio --quiet -o -H newc) >"$folder/root.cpio"
  cp "$work/kernel/boot/vmlinuz-$version" "$folder/vmlinuz"
  "${root[@]}" rm -rf "$work"
}

[ -f "$folder/vmlinuz" ] || build

# The command's files lie over the root as a second archive.
run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT
mkdir -p "$run/files/test"
[ $# = 0 ] || cp -rL "$@" "$run/files/test/"
install -m 755 "$(dirname "$0")/init.sh" "$run/files/init"
printf '%s\n' "$command" >"$run/files/test/command"
(cat "$folder/root.cpio"; cd "$run/files" && find . | cpio --quiet -o -H newc) >"$run/initrd"

timeout "${LIMIT:-400}" qemu-system-x86_64 -accel tcg,thread=multi -cpu max,la57=off -smp 2 -m 1536 -nodefaults \
  -no-user-config -display none -no-reboot -serial stdio -nic none -kernel "$folder/vmlinuz" -initrd "$run/initrd" \
  -append "console=ttyS0 quiet panic=-1 mitigations=off nokaslr random.trust_cpu=on tsc=reliable" \
  </dev/null | tee "$run/output" || true
status=$(sed -n 's/^machine: exit status \([0-9]*\).*/\1/p' "$run/output")
exit "${status:-125}"
