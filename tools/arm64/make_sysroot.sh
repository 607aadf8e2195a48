#!/usr/bin/env bash
# make_sysroot.sh DIRECTORY: unpacks the arm64 packages that the build needs into DIRECTORY, from the package sources
# of this machine. Nothing is installed and dpkg learns of no foreign architecture.
set -euo pipefail
sysroot=$1
here=$(realpath "$(dirname "$0")")
packages=(libc6-dev libstdc++-12-dev libgomp1 qtbase5-dev libhwy-dev libgtest-dev libgmock-dev libopencv-dev
    libcli11-dev libopenimageio-dev libraw-dev librsvg2-dev zlib1g-dev
    libaravis-dev libusb-1.0-0-dev libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base
    gstreamer1.0-plugins-good libcpp-httplib-dev libturbojpeg0-dev
    pybind11-dev python3-dev python3-numpy python3-pytest python3-hypothesis)

[ "$(cat "$sysroot/complete" 2>/dev/null)" = "${packages[*]}" ] && exit
rm -rf "$sysroot"
mkdir -p "$(dirname "$sysroot")"
include=$(IFS=,; echo "${packages[*]}")
# Without maintainer scripts, which could not run here.
"$here/unpack.sh" "$sysroot" --include="$include" --extract-hook="'$here/list_packages.sh' \"\$1\""
# Links to absolute paths would lead out of the tree.
find "$sysroot" -type l -lname '/*' -print0 | while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
done
# Qt's build files name the moc of the tree, and moc runs here: this machine's, of the same version, takes its place.
ln -sf /usr/lib/qt5/bin/moc "$sysroot/usr/lib/qt5/bin/moc"
echo "${packages[*]}" >"$sysroot/complete"
