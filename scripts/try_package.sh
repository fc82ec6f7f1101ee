#!/usr/bin/env bash
# Unpacks the package and has it estimate a small directory, with nothing in its environment but
# PATH; as root also in a root directory that holds nothing else but a shell and four tools.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

host=$(mktemp -d)
trap 'rm -rf --one-file-system "$host"' EXIT
tar xf build/package/kel_estimator-*.tar.gz -C "$host" --strip-components 1
for program in "$host"/kel_*; do
  readelf -d "$program" | grep 'no dynamic section' >/dev/null || {
    echo "not static: $program" >&2
    exit 1
  }
done
cp -r src "$host/data"

# try COMMAND...: runs the programs over a directory by a command that starts a shell.
try() {
  local told
  told=$("$@" -c 'printf "y\n$PWD/data\n2\n" | ./kel_estimator && ./overall.sh "$PWD/data"') || true
  printf '%s\n' "$told"
  [[ $told = *"Estimated compression ratio = "*"Overall ratio of "* ]]
}
cd "$host"
try env -i PATH="$PATH" sh
[ "$(id -u)" -ne 0 ] || type -P busybox >/dev/null || install_packages busybox-static || true
if [ "$(id -u)" -eq 0 ] && readelf -d "$(type -P busybox)" | grep 'no dynamic section' >/dev/null; then
  mkdir bin
  cp "$(type -P busybox)" bin/
  for tool in sh grep awk mkdir tr; do ln -s busybox "bin/$tool"; done
  try env -i PATH=/bin "$(type -P chroot)" . /bin/sh
else
  echo "not tried in a root directory of its own, which takes root and a static busybox" >&2
fi
