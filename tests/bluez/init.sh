#!/bin/bash
# The first process of the machine: prepares what a test of Bluetooth needs, runs the command, and switches off.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 LD_LIBRARY_PATH=/test/libraries
mount -t devtmpfs dev /dev && mount -t proc proc /proc && mount -t sysfs sys /sys
mount -t tmpfs run /run && mount -t tmpfs tmp /tmp
while read -r module; do insmod "/modules/$module"; done </modules/order
ip link set lo up
until [ -c /dev/vhci ]; do sleep 0.1; done
mkdir /run/dbus && dbus-uuidgen --ensure=/etc/machine-id && dbus-daemon --system --fork
cd /test
bash command
echo "machine: exit status $?"
echo b >/proc/sysrq-trigger
sleep 10
