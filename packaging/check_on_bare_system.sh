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

# Packages of Debian by name, ours by place.
install() {
    inside sh -ec "apt-get install -y -qq $* >/dev/null"
}

fail() {
    echo "$*" >&2
    exit 1
}

# says TEXT COMMAND...: what a command prints has this text.
says() {
    inside "${@:2}" | grep -F -- "$1" >/dev/null || fail "not said by ${*:2}: $1"
}

# For the users inside as well, whose root directory this is.
chmod 755 "$system"
debootstrap --variant=minbase bookworm "$system" >/dev/null
# The same mirror, proxy and certificates as the machine that runs this.
rm "$system/etc/apt/sources.list"
cp -a /etc/apt/sources.list* /etc/apt/apt.conf.d "$system/etc/apt/"
cat > "$system/etc/apt/apt.conf.d/zz-bare" <<END
APT::Install-Recommends "false";
Dpkg::Use-Pty "false";
END
# The system is thrown away, so nothing has to reach the disk.
echo force-unsafe-io > "$system/etc/dpkg/dpkg.cfg.d/unsafe-io"
mount -t proc proc "$system/proc"
inside apt-get update -qq

mkdir -p "$system/packages/built"
cp "$packages"/*.deb "$system/packages"
cp -r "$sources/tests/package/client" "$sources/examples" "$system/packages"

# The tool alone, before any compiler is there.
install '/packages/libkoimproc1_*.deb /packages/koimproc-tools_*.deb'
inside ko --version
inside test -s /usr/share/doc/koimproc-tools/tool.md
# Its module for picture files is found, and has what it needs.
inside ko mask circle 9 -o /packages/disc.png
says '9 x 9' ko info /packages/disc.png

# Python's package, as Python finds it.
install '/packages/python3-koimproc_*.deb'
inside sh -c 'cd / && python3 -c "
import numpy, koimproc.native as ko
out = numpy.zeros((4, 4), numpy.int32)
assert ko.Sobel(ko.SxImageBuf(numpy.eye(4, dtype=numpy.uint8)), ko.SxImageBuf(out)) == ko.ResultOk and out.any()"'
inside koimproc-series --version

# The elements, as GStreamer finds them.
install gstreamer1.0-tools gstreamer1.0-plugins-base
install '/packages/gstreamer1.0-koimproc_*.deb /packages/libkogstreamer1_*.deb'
for element in kodemosaic koflatfield kostats; do
    says 'libgstkoimproc.so' gst-inspect-1.0 $element
done
inside gst-launch-1.0 -q videotestsrc num-buffers=1 ! video/x-bayer,format=rggb ! kodemosaic ! fakesink

# Live cameras. Which ones there are is the network's business.
install '/packages/libkocamera1_*.deb'
inside ko cameras

# The manual page of the tool and what shells complete, found where `man` and the shells look.
install man-db bash-completion fish zsh
warnings=$(inside man --warnings ko 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "$warnings"
says 'ko median' man ko
says 'frames-per-part' man koimproc-series
says '_ko' bash -c 'source /usr/share/bash-completion/bash_completion; _completion_loader ko; complete -p ko'
says '--radius' fish -c 'complete -C "ko median --"'
says '_ko' zsh -fc 'autoload -Uz compinit; compinit -uD; print -r -- $_comps[ko]'

# Programs of others.
install g++ cmake ninja-build pkg-config python3 qtbase5-dev
install '/packages/libkoimproc-dev_*.deb /packages/libkogstreamer-dev_*.deb /packages/libkocamera-dev_*.deb'
for way in find_package pkg_config camera; do
    inside python3 /packages/client/consume.py --compiler g++ --work /packages/built --prefix /usr $way
done

# What the header for QImage needs has come with qtbase5-dev. There is no OpenCV, so that nothing but its own header
# can have asked for it; and the libraries and programs without QImage do not load QtGui.
inside sh -ec 'g++ -std=c++17 -fPIC /packages/examples/qimage.cpp -o /packages/built/qimage $(pkg-config --cflags --libs koimproc Qt5Gui)'
says 'red at the bad pixel: 255 before, 120 after' /packages/built/qimage
if inside pkg-config --exists opencv4; then
    fail "OpenCV was installed"
fi
if inside ldd /packages/built/pkg_config_client | grep -E 'Qt5Gui|opencv'; then
    fail "loaded by a program that does not need it"
fi

# Python's package once more, from its sources and without network.
install libhwy-dev pybind11-dev python3-dev python3-setuptools python3-wheel python3-venv python3-numpy
git -C "$sources" archive --prefix=sources/ HEAD | tar -x -C "$system/packages"
inside python3 -m venv --system-site-packages /packages/environment
inside sh -ec 'cd /packages/sources && PIP_NO_INDEX=1 /packages/environment/bin/pip install -q .'
inside sh -c 'cd / && /packages/environment/bin/python -c "
import koimproc.native as ko
assert ko.__file__.startswith(\"/packages/environment/\"), ko.__file__"'

names=(libkoimproc-dev libkoimproc1 koimproc-tools python3-koimproc
    libkogstreamer-dev libkogstreamer1 gstreamer1.0-koimproc libkocamera-dev libkocamera1)
inside dpkg -L "${names[@]}" | sort -u > "$system/packages/installed"
inside apt-get purge -y -qq "${names[@]}" >/dev/null

# What is still there has to be somebody else's: /usr/bin, say, and pages that man has kept.
inside sh -ec 'while read -r path; do
        [ ! -e "$path" ] || dpkg -S "$path" >/dev/null 2>&1 || echo "left behind: $path"
    done < /packages/installed
    find / -xdev \( -path /packages -o -path /proc -o -path /var/cache/man \) -prune -o \
        \( -name "*koimproc*" -o -name "*kocore*" -o -name "*kocamera*" -o -name "*kogstreamer*" \) -print' \
    > "$system/packages/left"
# The root directory belongs to no package.
if grep -v '^left behind: /\.$' "$system/packages/left"; then
    exit 1
fi
echo "installed, used and removed without a trace"
