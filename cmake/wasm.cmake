# The library as a WebAssembly module, with the JavaScript that goes around it, and the engine
# of reports: a build of its own in the folder wasm. Included by the top CMakeLists.txt.
#
# Sets KAVRIL_NPM_PACKAGE, the folder of the package, and KAVRIL_WHAT_IF, the engine; not
# without the compiler.
if(NOT KAVRIL_WASM OR NOT PROJECT_IS_TOP_LEVEL OR CMAKE_CROSSCOMPILING OR KAVRIL_SANITIZE)
  return()
endif()
find_program(WASM_CXX clang++)
if(WASM_CXX)
  # A program takes the compiler, the linker and three libraries, each of a package.
  file(WRITE ${CMAKE_BINARY_DIR}/wasm-probe.cpp
       "#include <algorithm>\nint main(int nb, char**) { int a[2] = {nb}; std::ranges::sort(a); }\n")
  execute_process(COMMAND ${WASM_CXX} --target=wasm32-wasi -std=c++20 -fno-exceptions
                          wasm-probe.cpp -o wasm-probe.wasm
                  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
                  RESULT_VARIABLE wasm_fails OUTPUT_QUIET ERROR_QUIET)
endif()
if(NOT WASM_CXX OR wasm_fails)
  message(STATUS "There will be no module for JavaScript: no compiler and libraries for WebAssembly "
                 "(on Debian: apt-get install clang lld wasi-libc libc++-16-dev-wasm32 "
                 "libc++abi-16-dev-wasm32 libclang-rt-dev-wasm32)")
  return()
endif()

# Pages carry the module, so it is built small: by a quarter, and about 10 % slower than with -O3.
set(build ${CMAKE_BINARY_DIR}/wasm)
set(KAVRIL_NPM_PACKAGE ${build}/package)
# The workbench's libraries are templates: those of this machine do for any other.
find_path(JSON_HEADERS nlohmann/json.hpp)
find_path(FMT_HEADERS fmt/format.h)
find_path(BOOST_HEADERS boost/graph/adjacency_list.hpp)
if(KAVRIL_WORKBENCH AND JSON_HEADERS AND FMT_HEADERS AND BOOST_HEADERS)
  set(KAVRIL_WHAT_IF ${build}/what_if/what_if.wasm)
endif()
include(ExternalProject)
ExternalProject_Add(kavril_wasm
  SOURCE_DIR ${PROJECT_SOURCE_DIR}
  BINARY_DIR ${build}
  PREFIX ${build}/project
  CMAKE_ARGS -DCMAKE_TOOLCHAIN_FILE=${CMAKE_CURRENT_LIST_DIR}/wasm32-wasi.cmake
             -DCMAKE_BUILD_TYPE=MinSizeRel -DKAVRIL_HARDEN=OFF -DKAVRIL_WHAT_IF=${KAVRIL_WHAT_IF}
             -DJSON_HEADERS=${JSON_HEADERS} -DFMT_HEADERS=${FMT_HEADERS} -DBOOST_HEADERS=${BOOST_HEADERS}
  BUILD_COMMAND ${CMAKE_COMMAND} --build ${build}
  BUILD_ALWAYS ON
  BUILD_BYPRODUCTS ${KAVRIL_NPM_PACKAGE}/kavril.wasm ${KAVRIL_WHAT_IF}
  INSTALL_COMMAND "")

# kavril-VERSION.tgz in the folder lib, which `npm install` takes.
find_program(NPM npm)
if(NPM)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  add_custom_target(kavril_npm
    COMMAND ${NPM} pack --silent --pack-destination ${CMAKE_BINARY_DIR}/lib ${KAVRIL_NPM_PACKAGE}
    DEPENDS kavril_wasm
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    VERBATIM)
endif()
