# The package: programs that need no library of the host, and the licences of all that is in them.

include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LIBRARIES -static zstd)
check_cxx_source_compiles("
  #include <string>
  #include <zstd.h>
  int main(int argc, char**) { return std::to_string(ZSTD_compressBound(argc)).empty(); }"
  CAN_LINK_STATICALLY)
if(NOT CAN_LINK_STATICALLY)
  unset(CAN_LINK_STATICALLY CACHE)  # the next time they may be there
  message(FATAL_ERROR "A package needs the static archives of the C library, the C++ runtime and "
    "zstd, for the processor that it is for. Install libc6-dev, g++ and libzstd-dev, or where they "
    "are packed apart, glibc-static, libstdc++-static and libzstd-static.")
endif()
unset(CMAKE_REQUIRED_LIBRARIES)
add_link_options(-static)

# add_licence NAME FILE...: takes whichever of the files is there.
function(add_licence name)
  file(GLOB found LIST_DIRECTORIES false ${ARGN})
  if(NOT found)
    message(FATAL_ERROR "A package needs the licence of ${name}, which is in none of ${ARGN}.")
  endif()
  list(GET found 0 first)
  file(REAL_PATH ${first} first)
  install(FILES ${first} DESTINATION licences RENAME ${name}.txt)
endfunction()
add_licence(zstd /usr/share/doc/libzstd-dev/copyright /usr/share/licenses/*zstd*/LICENSE)
add_licence(c-library /usr/share/doc/libc6-dev${DEBIAN_SUFFIX}/copyright
  /usr/share/licenses/glibc/LICENSES)
add_licence(c++-runtime /usr/share/doc/libstdc++-*-dev${DEBIAN_SUFFIX}/copyright
  /usr/share/licenses/libstdc++*/COPYING.RUNTIME /usr/share/licenses/libgcc/COPYING.RUNTIME)
add_licence(LGPL-2.1 /usr/share/common-licenses/LGPL-2.1 /usr/share/licenses/glibc/COPYING.LIB)
add_licence(GPL-3 /usr/share/common-licenses/GPL-3 /usr/share/licenses/libgcc/COPYING3)

set(CPACK_GENERATOR TGZ)
set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
include(CPack)
