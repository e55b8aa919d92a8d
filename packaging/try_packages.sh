#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages on a clean machine: a minimal system made for it in a folder, with this machine's package
# sources. Renders an example there, builds the consumer project, and installs Debian's screen reader, whose name the
# project shares, beside them. Needs root; removes the folder afterwards.
# usage: try_packages.sh PACKAGE_FOLDER
set -euo pipefail
tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
packages=$(cd "$1" && pwd)
for name in orca-render orca-render-dev orca-render-doc; do
    compgen -G "$packages/${name}_*.deb" >/dev/null || { echo "try_packages.sh: no package $name in $packages" >&2; exit 1; }
done
((EUID == 0)) || { echo "try_packages.sh: only root can make and enter another system" >&2; exit 1; }

root=$(mktemp -d "${TMPDIR:-/tmp}/orca-clean-machine.XXXXXX")
chmod 755 "$root"
cleanup() {
    mountpoint -q "$root/proc" && umount "$root/proc"
    rm -rf --one-file-system "$root"
}
trap cleanup EXIT
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
install_inside() { inside apt-get install -q -y --no-install-recommends "$@" >>"$root/tmp/apt.log" 2>&1 || { tail -30 "$root/tmp/apt.log"; return 1; }; }
deb() { echo "/packages/$(basename "$packages/$1"_*.deb)"; } # as named inside
fail() { echo "try_packages.sh: $*" >&2; exit 1; }
try() { echo "--- $1"; }

try "a clean machine"
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
sources=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' "Created-By: Packages" "Origin: Debian" |
    sort -u)
mirror=$(awk -v release="$codename" '$3 == release && $4 == "main" { print $2; exit }' <<<"$sources")
[[ -n $mirror ]] || fail "no package lists of $codename main here; run apt-get update"
debootstrap --variant=minbase "$codename" "$root" "$mirror" >"$root.log" || { tail -30 "$root.log"; exit 1; }
rm "$root.log"
# The same sources and proxies as here, so that the packages' dependencies are the versions they were built against.
apt-config dump | grep -i '^Acquire::.*::Proxy' >"$root/etc/apt/apt.conf.d/proxy" || true
cp /etc/resolv.conf "$root/etc/resolv.conf"
echo "$sources" >"$root/etc/apt/sources.list"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d" # no service starts
chmod 755 "$root/usr/sbin/policy-rc.d"
mount -t proc proc "$root/proc"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
inside apt-get update -q >"$root/tmp/apt.log" || { cat "$root/tmp/apt.log"; exit 1; }

try "orca-render and its documentation"
install_inside "$(deb orca-render)" "$(deb orca-render-doc)"
inside orca-render --version
beauty=$(inside orca-render /usr/share/orca-render/examples/still_life.mi --size 96x54 --samples 0 0 --pixel 48,20 --files off |
    awk '$1 == "beauty" && $2 > 0.001 && $5 == 1')
[[ -n $beauty ]] || fail "the still life is black in the middle"
inside sh -c 'cd /tmp && orca-render /usr/share/orca-render/examples/still_life.mi --size 96x54 --samples 0 0 -o still.exr --files layers'
[[ -s $root/tmp/still.exr ]] || fail "no picture was written"
inside bash -c 'cmp <(orca-render --print-document bash) /usr/share/bash-completion/completions/orca-render'

try "the Python module"
install_inside python3-numpy
inside python3 -B -c '
import orcarender as orca
scene = orca.Scene("/usr/share/orca-render/examples/still_life.mi")
scene.resolution, scene.samples = (96, 54), (0, 0)
picture = scene.render()["beauty"]
assert picture.shape == (54, 96, 4) and picture[33, 48, 0] > 0.001, picture[33, 48]'

try "orca-import and orca-texture"
printf 'P3 2 2 255 255 0 0 255 0 0 255 0 0 255 0 0\n' >"$root/tmp/red.ppm"
printf 'newmtl red\nKd 1 1 1\nmap_Kd red.ppm\n' >"$root/tmp/quad.mtl"
printf 'mtllib quad.mtl\nusemtl red\nv 0 0 0\nv 4 0 0\nv 4 4 0\nv 0 4 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf 1/1 2/2 3/3 4/4\n' \
    >"$root/tmp/quad.obj"
inside sh -c 'cd /tmp && orca-texture red.ppm && orca-import quad.obj -q && sed -i "s/red\.ppm/red.tx/" quad.mi'
red=$(inside orca-render /tmp/quad.mi --size 48x27 --samples 0 0 --pixel 24,13 --files off |
    awk '$1 == "main" && $2 > 0.1 && $3 < 0.01 && $5 == 1')
[[ -n $red ]] || fail "the imported square is not red"

try "orca-render-dev and a shader library of somebody else"
install_inside "$(deb orca-render-dev)" cmake g++ make pkg-config
cp -r "$tree/tests/interface" "$root/tmp/interface"
inside /tmp/interface/try_consumer.sh /usr /tmp/consumer
# With pkg-config: without the headers that the CMake package writes from declarations.
sed '/#include "declared/d' "$tree/tests/interface/consumer/lamp.cpp" >"$root/tmp/lamp.cpp"
inside sh -c 'g++ -std=c++20 -O1 -fPIC -shared /tmp/lamp.cpp -o /tmp/lamp.so $(pkg-config --cflags --libs orca-sdk)'

try "the screen reader, which is called orca"
install_inside orca
[[ $(inside dpkg -S /usr/bin/orca) == "orca: /usr/bin/orca" ]] || fail "/usr/bin/orca is not the screen reader's"
changed=$(inside dpkg --verify orca-render orca-render-dev orca-render-doc)
[[ -z $changed ]] || fail "installing it changed our files: $changed"
inside orca-render --version >/dev/null

try "removal"
inside apt-get purge -q -y orca-render orca-render-dev orca-render-doc >>"$root/tmp/apt.log" 2>&1
left=$(find "$root/usr" -path '*orca-render*' -o -path '*include/orca*' -o -path '*cmake/orca*')
[[ -z $left ]] || fail "left after removal: $left"
echo "the packages install, run, build others' shaders, and leave nothing"
