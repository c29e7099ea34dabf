# Toolchain: clang for WebAssembly, with Debian's wasi-libc and libc++. Modules have one
# thread, and none of the system but what whoever runs them gives them.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
