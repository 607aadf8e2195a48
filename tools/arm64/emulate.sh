#!/bin/sh
# emulate.sh TREE [OPTION...] PROGRAM [ARGUMENT...]: runs an arm64 program with the libraries of a tree. The options are
# those of qemu.
tree=$1
shift
# A processor of the first ARMv8: what it does not have would end the programs.
set -- qemu-aarch64-static -cpu cortex-a53 -L "$tree" "$@"
# Where it may, Aravis takes frames from packet sockets, which qemu does not know.
[ "$(id -u)" -ne 0 ] || set -- setpriv --bounding-set -net_raw "$@"
exec "$@"
