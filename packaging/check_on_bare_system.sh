#!/usr/bin/env bash
# Installs the Debian packages of a folder on a bare Debian 12, uses them as a stranger would, removes them and
# looks for what they left behind. Needs root and debootstrap: check_on_bare_system.sh FOLDER
set -euo pipefail
packages=$(realpath "$1")
sources=$(realpath "$(dirname "$0")/..")
system=$(mktemp -d)

cleanup() {
    umount "$system/proc" 2>/dev/null || true
    rm -rf --one-file-system "$system"
}
trap cleanup EXIT

inside() {
    chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

debootstrap --variant=minbase bookworm "$system" >/dev/null
# The same mirror, proxy and certificates as the machine that runs this.
rm "$system/etc/apt/sources.list"
cp -a /etc/apt/sources.list* /etc/apt/apt.conf.d "$system/etc/apt/"
# The system is thrown away, so nothing has to reach the disk.
echo force-unsafe-io > "$system/etc/dpkg/dpkg.cfg.d/unsafe-io"
mount -t proc proc "$system/proc"
inside apt-get -o APT::Sandbox::User=root update -qq

mkdir -p "$system/packages/work"
cp "$packages"/*.deb "$system/packages"
cp -r "$sources/tests/client" "$system/packages/client"

# A program of the tool alone, before any compiler is there.
inside sh -ec 'apt-get -o APT::Sandbox::User=root install -y -qq --no-install-recommends /packages/libkoimproc1_*.deb /packages/koimproc-tools_*.deb >/dev/null'
inside ko --version
inside sh -ec 'apt-get -o APT::Sandbox::User=root install -y -qq --no-install-recommends g++ cmake ninja-build pkg-config python3 qtbase5-dev >/dev/null'

inside sh -ec 'apt-get -o APT::Sandbox::User=root install -y -qq --no-install-recommends /packages/libkoimproc-dev_*.deb >/dev/null'
for way in find_package pkg_config; do
    inside python3 /packages/client/consume.py --compiler g++ --work /packages/work --prefix /usr $way
done

names=(libkoimproc-dev libkoimproc1 koimproc-tools)
inside dpkg -L "${names[@]}" | sort -u > "$system/packages/installed"
inside apt-get purge -y -qq "${names[@]}" >/dev/null

# What is still there has to be somebody else's: /usr/bin, say.
inside sh -ec 'while read -r path; do
        [ ! -e "$path" ] || dpkg -S "$path" >/dev/null 2>&1 || echo "left behind: $path"
    done < /packages/installed
    find / -xdev \( -path /packages -o -path /proc \) -prune -o \( -name "*koimproc*" -o -name "*kocore*" \) -print' \
    > "$system/packages/left"
# The root directory belongs to no package.
if grep -v '^left behind: /\.$' "$system/packages/left"; then
    exit 1
fi
echo "installed, used and removed without a trace"
