#!/usr/bin/env bash
# on_bare_debian.sh DEBS: installs, uses and removes the packages in the folder DEBS on a bare
# Debian 12, which is made for this and thrown away.
set -euo pipefail

debs=$(readlink -f "$1")
cd "$(dirname "$(readlink -f "$0")")/../.."

luggage=$(mktemp -d)
trap 'rm -rf "$luggage"' EXIT
mkdir "$luggage/test"
cp "$debs"/*.deb examples/client/main.cpp tests/packages/install_use_remove.sh "$luggage/test"
cat >"$luggage/run" <<'END'
mount -t tmpfs tmpfs "$1/dev/shm"
exec chroot "$1" /root/test/install_use_remove.sh
END
mmdebstrap --variant=minbase --quiet \
    --customize-hook="copy-in '$luggage/test' /root" \
    --customize-hook="unshare --mount --propagation private sh -e '$luggage/run' \"\$1\"" \
    bookworm /dev/null
