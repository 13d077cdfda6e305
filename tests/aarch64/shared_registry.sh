#!/usr/bin/env bash
# shared_registry.sh NATIVE ARM: an emulated Arm process and a native one work on one registry. Each
# is the path of a nuvctl; run with a /dev/shm of its own and with qemu's QEMU_LD_PREFIX set.
set -euo pipefail
export LC_ALL=C

native=("$1") arm=(qemu-aarch64 "$2")
folder=$(mktemp -d)
trap 'rm -rf "$folder"; kill $(jobs -p) 2>/dev/null || true' EXIT
export NUV_INI_PATH=$folder
printf '[OPTIONS]\nScantime = 500\n' >"$folder/nuv_devicemgr.ini"
printf '[left]\ninterface = USB3\nserial = 4711\n' >"$folder/nuv_cameras.ini"

fail() {
    echo "aarch64: $*" >&2
    exit 1
}
await() { # TEXT FILE
    for _ in {1..300}; do
        ! grep -qs "$1" "$2" || return 0
        sleep 0.1
    done
    cat "$2" >&2
    fail "'$1' does not come"
}
same_list() {
    local seen_native seen_arm
    seen_native=$("${native[@]}" list)
    seen_arm=$("${arm[@]}" list)
    grep -q 4711 <<<"$seen_native" || fail "the camera is not listed"
    diff <(echo "$seen_native") <(echo "$seen_arm") || fail "the two see different lists"
}
# The native process holds the camera: the Arm one is refused, and has it when the holder was killed.
# Not the other way round: the emulator tells its process another start time than the kernel tells
# the others, who take the holder for dead.
hand_over() {
    local code=0 holder
    "${native[@]}" open 1 >"$folder/holder" &
    holder=$!
    await 'is open' "$folder/holder"
    same_list
    timeout 20 "${arm[@]}" open 1 >"$folder/refused" 2>&1 || code=$?
    [ $code -eq 4 ] || fail "Arm answers $code, not busy: $(cat "$folder/refused")"
    kill -KILL $holder
    wait $holder 2>/dev/null || true
    "${arm[@]}" open 1 >"$folder/successor" &
    holder=$!
    await 'is open' "$folder/successor"
    await 'camera 1 opened' "$folder/native"
    kill -INT $holder
    wait $holder
    echo "aarch64: an Arm process opened the camera after its native holder was killed"
    echo "aarch64: not run: an emulated holder, which others take for dead"
}

start_managers() {
    "${arm[@]}" run >"$folder/arm" &
    arm_manager=$!
    await 'camera 1 appeared' "$folder/arm"
    "${native[@]}" run >"$folder/native" &
    native_manager=$!
    await 'camera 1 appeared' "$folder/native"
    same_list
}
stop() { # MANAGER
    kill -INT "$1"
    wait "$1"
}

start_managers
stop $arm_manager
[ -e /dev/shm/nuv_device_shmem ] || fail "the registry went while the native manager was attached"
stop $native_manager
[ ! -e /dev/shm/nuv_device_shmem ] || fail "the last one left the registry behind"
echo "aarch64: one registry, made by an Arm process and removed by a native one"

start_managers
hand_over
stop $native_manager
stop $arm_manager
