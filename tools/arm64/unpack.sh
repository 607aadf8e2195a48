#!/usr/bin/env bash
# unpack.sh DIRECTORY OPTIONS...: a tree of arm64 packages of Debian 12 and all that they depend on, from the package
# sources of this machine. The options are those of mmdebstrap; --include names the packages or their files.
set -euo pipefail
sources=/etc/apt/sources.list
[ -s "$sources" ] || sources=/etc/apt/sources.list.d/debian.sources
mmdebstrap --quiet --variant=extract --architectures=arm64 --aptopt='APT::Install-Recommends "false"' "${@:2}" \
    bookworm "$1" "$sources"
# What maintainer scripts would choose among alternatives.
for library in blas lapack; do
    [ ! -d "$1/usr/lib/aarch64-linux-gnu/$library" ] ||
        ln -s "$library/lib$library.so.3" "$1/usr/lib/aarch64-linux-gnu/lib$library.so.3"
done
# What runs in the emulator finds these on the machine.
rm -r "${1:?}/dev" "${1:?}/tmp"
