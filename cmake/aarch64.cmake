# libkavril.so for 64-bit ARM, which goes into the jar beside the one for this machine: a
# build of its own in the folder aarch64. Included by the top CMakeLists.txt.
#
# Sets KAVRIL_OTHER_LIBRARIES, PLATFORM=FILE, for the jar; not without the compiler.
if(NOT KAVRIL_AARCH64 OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64" OR KAVRIL_SANITIZE)
  return()
endif()
find_program(AARCH64_CXX aarch64-linux-gnu-g++)
if(NOT AARCH64_CXX)
  message(STATUS "The jar gets no library for linux-aarch64: aarch64-linux-gnu-g++ is missing "
                 "(on Debian: apt-get install g++-aarch64-linux-gnu)")
  return()
endif()

set(build ${CMAKE_BINARY_DIR}/aarch64)
set(library ${build}/lib/libkavril.so)
set(KAVRIL_OTHER_LIBRARIES linux-aarch64=${library})
find_program(QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static)
set(is_tested OFF)
if(BUILD_TESTING AND QEMU_AARCH64 AND EXISTS /usr/src/googletest/CMakeLists.txt)
  set(is_tested ON)
endif()

include(ExternalProject)
ExternalProject_Add(kavril_aarch64
  SOURCE_DIR ${PROJECT_SOURCE_DIR}
  BINARY_DIR ${build}
  PREFIX ${build}/project
  CMAKE_ARGS -DCMAKE_TOOLCHAIN_FILE=${CMAKE_CURRENT_LIST_DIR}/aarch64-linux-gnu.cmake
             -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -DKAVRIL_HARDEN=${KAVRIL_HARDEN}
             -DKAVRIL_WORKBENCH=OFF -DBUILD_TESTING=${is_tested}
  BUILD_COMMAND ${CMAKE_COMMAND} --build ${build} --target kavril
  BUILD_ALWAYS ON
  BUILD_BYPRODUCTS ${library}
  INSTALL_COMMAND "")

if(is_tested)
  add_custom_target(kavril_aarch64_tests ALL
    COMMAND ${CMAKE_COMMAND} --build ${build} --target kavril_tests kavril_play
    DEPENDS kavril_aarch64
    VERBATIM)
endif()
