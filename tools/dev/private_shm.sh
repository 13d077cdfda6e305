# Runs a command where /dev/shm is its own, so that a live registry is never touched.

in_private_shm() {
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(--user --map-root-user)
    unshare "${as_root[@]}" --mount true 2>/dev/null ||
        fail "the system grants no private mount namespace (unprivileged user namespaces are" \
            "off?): run it as root"
    unshare "${as_root[@]}" --mount --propagation private \
        sh -c 'mount -t tmpfs tmpfs /dev/shm && exec "$@"' sh "$@"
}
