#!/usr/bin/env bash
# list_packages.sh DIRECTORY: while mmdebstrap makes a tree, notes in its package database which package each library
# is from, under the path that it has here, and from which version on it serves. dpkg-shlibdeps reads that.
set -euo pipefail
tree=$(realpath "$1")
database=$tree/var/lib/dpkg
mkdir -p "$database/info" "$database/updates"
echo 1 > "$database/info/format"
printf 'amd64\narm64\n' > "$database/arch"
for deb in "$tree"/var/cache/apt/archives/*.deb; do
    files=$(dpkg-deb --ctrl-tarfile "$deb" | tar --list | grep -Eo '(shlibs|symbols)$') || continue
    name=$(dpkg-deb --field "$deb" Package)
    [ "$(dpkg-deb --field "$deb" Multi-Arch)" != same ] || name=$name:arm64
    for file in $files; do
        dpkg-deb --info "$deb" "$file" > "$database/info/$name.$file"
    done
    dpkg-deb --fsys-tarfile "$deb" | tar --list | sed "s|^\.|$tree|" > "$database/info/$name.list"
    {
        dpkg-deb --field "$deb"
        printf 'Status: install ok installed\n\n'
    } >> "$database/status"
done
