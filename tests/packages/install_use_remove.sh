#!/usr/bin/env bash
# Runs as root on the bare system, beside the packages, with a /dev/shm of its own.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
cd /root/test

fail() {
    echo "packages: $*" >&2
    exit 1
}
apt() { apt-get -qq -y --no-install-recommends "$@" >apt.log 2>&1 || { cat apt.log; fail "apt-get $*"; }; }
files() { find / -xdev \( -path /root -o -path /proc -o -path /sys -o -path '/var/lib/apt' -o \
    -path /var/cache -o -path /var/log -o -path /var/lib/dpkg \) -prune -o -print | sort; }

mkdir /root/test/config
export NUV_INI_PATH=/root/test/config
printf '[Bench camera]\ninterface = GIGE\nserial = 4711\n' >/root/test/config/nuv_cameras.ini

# What compiles a program is there before: only what our packages bring is looked at.
apt install g++ pkgconf
files >before

apt install ./libnuvdevmgr2_*.deb ./nuvctl_*.deb
[ -e /usr/include/nuv ] && fail "the headers came with the library"
nuvctl run >run.log &
for _ in {1..100}; do
    ! grep -qs 'camera 1 appeared' run.log || break
    sleep 0.1
done
nuvctl list
nuvctl list | grep -q 'GIGE .*4711 .*Bench camera' || fail "nuvctl does not list the camera"
kill %1
wait %1

apt install ./libnuvdevmgr-dev_*.deb
read -ra flags < <(pkg-config --cflags --libs nuvdevmgr)
g++ -std=c++17 main.cpp "${flags[@]}" -o client
./client | tee client.log
grep -qx 'camera 1 opened and closed' client.log || fail "a program built with -dev does not work"

apt purge libnuvdevmgr2 libnuvdevmgr-dev nuvctl
files >after
diff before after || fail "the packages left these files behind"
echo "installed, used and removed on Debian $(cat /etc/debian_version)"
