# libkavril_core.so: the core once more, as a shared library.
#
# Its sources mark nothing as exported. A header that is read before each of them declares
# what the public headers declare as visible; whatever is declared afterwards stays hidden.
set(exported ${CMAKE_BINARY_DIR}/exported.h)
list(TRANSFORM KAVRIL_PUBLIC_HEADERS REPLACE "(.+)" "#include \"\\1\"\n" OUTPUT_VARIABLE includes)
list(JOIN includes "" includes)
file(CONFIGURE OUTPUT ${exported} CONTENT "#pragma once
#pragma GCC visibility push(default)
${includes}#pragma GCC visibility pop
")

get_target_property(core_sources kavril_core SOURCES)
get_target_property(core_includes kavril_core INTERFACE_INCLUDE_DIRECTORIES)
add_library(kavril_shared SHARED ${core_sources})
set_target_properties(kavril_shared PROPERTIES
  OUTPUT_NAME kavril_core VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_include_directories(kavril_shared PUBLIC ${core_includes})
target_compile_features(kavril_shared PUBLIC cxx_std_20)
target_compile_options(kavril_shared PRIVATE -fno-exceptions -include ${exported})
target_link_options(kavril_shared PRIVATE -static-libgcc -Wl,--as-needed,-z,defs)
target_link_libraries(kavril_shared PRIVATE $<BUILD_INTERFACE:kavril_options>)
