# The library as a WebAssembly module, with the JavaScript that goes around it: a build of
# its own in the folder wasm. Included by the top CMakeLists.txt.
if(NOT KAVRIL_WASM OR CMAKE_CROSSCOMPILING OR KAVRIL_SANITIZE)
  return()
endif()
find_program(WASM_CXX clang++)
find_program(WASM_LD wasm-ld)
find_file(WASM_LIBC wasm32-wasi/libc.a PATHS /usr/lib NO_DEFAULT_PATH)
find_file(WASM_LIBCXX wasm32-wasi/libc++.a PATHS /usr/lib NO_DEFAULT_PATH)
find_program(NPM npm)
if(NOT WASM_CXX OR NOT WASM_LD OR NOT WASM_LIBC OR NOT WASM_LIBCXX OR NOT NPM)
  message(STATUS "There will be no JavaScript module: clang, its libraries for WebAssembly or npm "
                 "are missing (on Debian: apt-get install clang lld wasi-libc libc++-dev-wasm32 "
                 "libclang-rt-14-dev-wasm32 npm)")
  return()
endif()

set(build ${CMAKE_BINARY_DIR}/wasm)
set(KAVRIL_NPM_PACKAGE ${build}/package)
include(ExternalProject)
ExternalProject_Add(kavril_wasm
  SOURCE_DIR ${PROJECT_SOURCE_DIR}
  BINARY_DIR ${build}
  PREFIX ${build}/project
  CMAKE_ARGS -DCMAKE_TOOLCHAIN_FILE=${CMAKE_CURRENT_LIST_DIR}/wasm32-wasi.cmake
             -DCMAKE_BUILD_TYPE=Release -DKAVRIL_HARDEN=OFF
  BUILD_COMMAND ${CMAKE_COMMAND} --build ${build}
  BUILD_ALWAYS ON
  BUILD_BYPRODUCTS ${KAVRIL_NPM_PACKAGE}/kavril.wasm
  INSTALL_COMMAND "")

# kavril-VERSION.tgz, which `npm install` takes.
add_custom_target(kavril_npm
  COMMAND ${NPM} pack --silent --pack-destination ${CMAKE_BINARY_DIR}/lib ${KAVRIL_NPM_PACKAGE}
  DEPENDS kavril_wasm
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  VERBATIM)
