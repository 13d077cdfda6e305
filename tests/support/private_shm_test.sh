#!/usr/bin/env bash
# private_shm_test.sh PROGRAM: a test program empties its /dev/shm, which must not be ours.
set -euo pipefail

probe=/dev/shm/nuv_test_probe.$$
trap 'rm -f "$probe"' EXIT
touch "$probe"
"$1" --gtest_filter='Devices.*' | grep -q 'PASSED  . [1-9]'
[ -e "$probe" ] || { echo "test programs share /dev/shm with the machine"; exit 1; }
