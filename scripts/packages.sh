# shellcheck shell=bash
# Sourced by the other scripts: installs what a build needs and this machine lacks.

# install_packages PACKAGE...: asks apt for packages, as root or through sudo.
install_packages() {
  if ! command -v apt-get >/dev/null; then
    echo "missing here, and no apt-get to install it: $*" >&2
    return 1
  fi
  local sudo=
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  echo "installing: $*" >&2
  {
    $sudo apt-get update -qq &&
      $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"
  } </dev/null >&2
}

# have_header HEADER: true when the compiler finds it.
have_header() {
  echo "#include <$1>" | c++ -E -x c++ - >/dev/null 2>&1
}

# need programs|tests: makes sure of what the programs alone, or also the tests, are built with.
need() {
  local missing=()
  command -v c++ >/dev/null || missing+=(g++)
  command -v cmake >/dev/null || missing+=(cmake)
  command -v make >/dev/null || missing+=(make)
  have_header zstd.h || missing+=(libzstd-dev)
  if [ "$1" = tests ]; then
    have_header gtest/gtest.h || missing+=(libgtest-dev)
    command -v strace >/dev/null || missing+=(strace)
  fi
  [ ${#missing[@]} -eq 0 ] || install_packages "${missing[@]}"
}
