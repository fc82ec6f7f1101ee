#!/usr/bin/env bash
# Unpacks the packages that were made last and has each estimate the same directory, with nothing in
# its environment but PATH; as root also in a root directory that holds nothing else but a shell and
# four tools. Their figures must be the same. The one for another processor runs in an emulator.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
mkdir "$root/bin"

is_static() { readelf -d "$1" | grep 'no dynamic section' >/dev/null; }

# unpack PACKAGE: into a folder of its own in the root directory. Sets `processor`.
unpack() {
  local archive program
  archive=$(sed -n 's/^set(CPACK_PACKAGE_FILE_NAME "\(.*\)")/\1/p' "build/$1/CPackConfig.cmake")
  processor=${archive##*-}
  mkdir "$root/$1"
  tar xf "build/$1/$archive.tar.gz" -C "$root/$1" --strip-components 1
  for program in "$root/$1"/kel_*; do
    is_static "$program" || {
      echo "not static: $program" >&2
      exit 1
    }
  done
}

# emulate PACKAGE: puts scripts that run the programs in an emulator into their places, since the
# kernel may not know how to start them.
emulate() {
  local emulator=qemu-$processor-static program
  type -P "$emulator" >/dev/null || install_debian qemu-user-static || return
  cp "$(type -P "$emulator")" "$root/bin/"
  mkdir "$root/$1/programs"
  for program in "$root/$1"/kel_*; do
    mv "$program" "$root/$1/programs/"
    printf '#!/bin/sh\nexec ../bin/%s programs/%s "$@"\n' "$emulator" "${program##*/}" >"$program"
    chmod +x "$program"
  done
}

# try ROOT PACKAGE SHELL...: runs the programs there by a command that starts a shell.
try() {
  local top=$1 package=$2 told
  shift 2
  # shellcheck disable=SC2016  # they are that shell's
  told=$("$@" -c 'cd "$0/$1" && printf "y\n$0/data\n2\n" | ./kel_estimator &&
    ./overall.sh "$0/data"' "$top" "$package" 2>&1) || true
  [[ $told = *"Estimated compression ratio = "*"Overall ratio of "* ]] || {
    printf '%s\n' "$told" >&2
    exit 1
  }
  echo "$package: ${told##*$'\n'}"
}

# Puts a static busybox into the root directory. Debian's cannot be installed beside the other one.
get_busybox() {
  if type -P busybox >/dev/null && is_static "$(type -P busybox)"; then
    cp "$(type -P busybox)" "$root/bin/"
  else
    (cd "$root" && apt-get update -qq &&
      apt-get download -qq -o APT::Sandbox::User=root busybox-static &&
      dpkg-deb --fsys-tarfile busybox-static_*.deb | tar x ./bin/busybox) >&2
  fi
}

packages=()
for package in build/package*; do
  package=${package#build/}
  unpack "$package"
  if [ "$processor" = "$(uname -m)" ] || emulate "$package"; then
    packages+=("$package")
  else
    echo "not tried, since nothing here can run it: $package" >&2
  fi
done
cp -r src "$root/data"
seq 20000000 >"$root/data/numbers"  # so much that a sample is drawn

for package in "${packages[@]}"; do
  try "$root" "$package" env -i PATH="$PATH" sh
done
if [ "$(id -u)" -eq 0 ] && get_busybox; then
  for tool in sh grep awk mkdir tr; do ln -s busybox "$root/bin/$tool"; done
  for package in "${packages[@]}"; do
    try "" "$package" env -i PATH=/bin "$(type -P chroot)" "$root" /bin/sh
  done
else
  echo "not tried in a root directory of its own, which takes root and a static busybox" >&2
fi

cd "$root/${packages[0]}"
for package in "${packages[@]:1}"; do
  for figures in *.log artifact/*; do cmp "$figures" "../$package/$figures"; done
  echo "$package: the same figures as ${packages[0]}, byte for byte"
done
