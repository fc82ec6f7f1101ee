# Builds for aarch64 by Debian's cross compiler.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(DEBIAN_SUFFIX -arm64-cross)  # of the packages that it links in
