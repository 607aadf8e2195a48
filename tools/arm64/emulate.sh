#!/bin/sh
# emulate.sh TREE [OPTION...] PROGRAM [ARGUMENT...]: runs an arm64 program with the libraries of a tree. The options are
# those of qemu.
tree=$1
shift
# qemu shows programs the files of the tree, but not to Qt when it looks for plugins.
export QT_PLUGIN_PATH="$tree/usr/lib/aarch64-linux-gnu/qt5/plugins"
# A processor of the first ARMv8: what it does not have would end the programs.
set -- qemu-aarch64-static -cpu cortex-a53 -L "$tree" "$@"
# Where it may, Aravis takes frames from packet sockets, which qemu does not know.
[ "$(id -u)" -ne 0 ] || set -- setpriv --bounding-set -net_raw "$@"
exec "$@"
