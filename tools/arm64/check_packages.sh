#!/usr/bin/env bash
# check_packages.sh FOLDER: unpacks the arm64 packages of a folder into a tree of their own, with all that they depend
# on in Debian 12, and uses them there in the emulator.
set -euo pipefail
packages=$(realpath "$1")
cd "$(dirname "$0")/../.."
tree=$(mktemp -d)
trap 'rm -rf --one-file-system "$tree"' EXIT

emulator=("$PWD/tools/arm64/emulate.sh" "$tree")

emulated() {
    "${emulator[@]}" "$@"
}

# says TEXT COMMAND...: what a program prints has this text.
says() {
    emulated "${@:2}" | grep -Fx -- "$1" >/dev/null || {
        echo "not said by ${*:2}: $1" >&2
        exit 1
    }
}

wanted=()
for package in "$packages"/*_arm64.deb; do
    wanted+=("--include=$package")
done
# apt, whose root directory is the tree, wants to find the packages under the same path there.
others=libc6-dev,libstdc++-12-dev,gstreamer1.0-tools,gstreamer1.0-plugins-base
tools/arm64/unpack.sh "$tree" "${wanted[@]}" --include=$others \
    --setup-hook="mkdir -p \"\$1$packages\" && cp '$packages'/*.deb \"\$1$packages\""
made=$tree/made
mkdir "$made"

ko=$tree/usr/bin/ko
emulated "$ko" --version
emulated "$ko" simulate docs/pictures/developed.jpg -o "$made/mosaic.tif"
emulated "$ko" demosaic "$made/mosaic.tif" -o "$made/colour.png"
emulated "$ko" info "$made/colour.png"
for file in man/man1/ko.1.gz bash-completion/completions/ko doc/koimproc-tools/tool.md; do
    test -s "$tree/usr/share/$file"
done

# The elements, as GStreamer finds them, and the tool's module of live cameras.
export GST_REGISTRY=$made/registry GST_REGISTRY_FORK=no
emulated "$tree/usr/bin/gst-inspect-1.0" kodemosaic >"$made/kodemosaic"
emulated "$ko" live 'videotestsrc num-buffers=3 ! video/x-bayer,format=grbg,width=64,height=48' -o "$made/live"
test -s "$made/live/000003.tif"

# The package for Python, by the tree's own.
says 'aarch64 (3, 200)' "$tree/usr/bin/python3" -B -c '
import platform, koimproc, numpy
print(platform.machine(), koimproc.minmax(numpy.array([[3, 200], [7, 9]], numpy.uint8)))'

# A program of others, built with the development files.
export PKG_CONFIG_SYSROOT_DIR=$tree PKG_CONFIG_LIBDIR=$tree/usr/lib/aarch64-linux-gnu/pkgconfig
tests/package/client/consume.py --compiler aarch64-linux-gnu-g++ --flags="--sysroot=$tree" --prefix "$tree/usr" \
    --emulator "${emulator[*]}" --work "$made" pkg_config
echo "arm64 packages unpacked and used"
