# shellcheck shell=bash
# Sourced by the other scripts: installs what a build needs and this machine lacks.

# install_debian PACKAGE...: asks apt for packages, as root or through sudo. One that is named with
# its architecture, as in NAME:arm64, may be of another than this machine's.
install_debian() {
  local sudo='' package architecture added=''
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  {
    echo "installing: $*"
    for package; do
      architecture=${package#*:}
      if [ "$architecture" != "$package" ] &&
        ! dpkg --print-foreign-architectures | grep -x "$architecture" >/dev/null; then
        $sudo dpkg --add-architecture "$architecture" && added=$architecture
      fi
    done
    if $sudo apt-get update -qq &&
      $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"
    then
      return
    fi
    echo "missing here, and apt-get cannot install it: $*"
    # Where the mirror does not have it, no later update would succeed.
    [ -z "$added" ] || $sudo dpkg --remove-architecture "$added"
    return 1
  } </dev/null >&2
}

# have_header HEADER: true when the compiler finds it.
have_header() {
  echo "#include <$1>" | c++ -E -x c++ - >/dev/null 2>&1
}

# need programs|tests|packages: makes sure of what the programs alone, also the tests, or the
# packages are built with.
need() {
  local missing=()
  command -v c++ >/dev/null || missing+=(g++)
  command -v cmake >/dev/null || missing+=(cmake)
  command -v make >/dev/null || missing+=(make)
  have_header zstd.h || missing+=(libzstd-dev)
  if [ "$1" = tests ]; then
    have_header gtest/gtest.h || missing+=(libgtest-dev)
    command -v strace >/dev/null || missing+=(strace)
  elif [ "$1" = packages ] && [ "$(uname -m)" != aarch64 ]; then
    command -v aarch64-linux-gnu-g++ >/dev/null || missing+=(g++-aarch64-linux-gnu)
    [ -e "$(aarch64-linux-gnu-g++ -print-file-name=libzstd.a 2>/dev/null)" ] ||
      missing+=(libzstd-dev:arm64)
  fi
  [ ${#missing[@]} -eq 0 ] || install_debian "${missing[@]}"
}
