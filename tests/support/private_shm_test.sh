#!/usr/bin/env bash
# private_shm_test.sh PROGRAM: what a test program leaves in /dev/shm must not be in ours.
set -euo pipefail

name=nuv_test_probe.$$
answer=$("$1" --role leave_file_in_shm "$name")
[ "$answer" = "left $name" ] || { echo "the program did not leave its file: $answer"; exit 1; }
if [ -e "/dev/shm/$name" ]; then
    rm -f "/dev/shm/$name"
    echo "test programs share /dev/shm with the machine"
    exit 1
fi
