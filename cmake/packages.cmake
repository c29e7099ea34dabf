# The Debian packages, one for each component of an installation, with what a package says
# of itself: copyright, changelog, bill of materials. Included last.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kavril)
set(maintainer "KAVRIL maintainers <maintainers@kavril.invalid>")
set(CPACK_PACKAGE_CONTACT ${maintainer})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Debian's tools refuse group-writable control files, whatever the umask is.
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/CPackEpoch.cmake)
file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} @ONLY CONTENT
"# Files in the packages have one date, so that two builds give the same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} @KAVRIL_EPOCH@)
endif()
")

string(TIMESTAMP KAVRIL_YEAR "%Y" UTC)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/copyright.in copyright @ONLY)
file(WRITE ${CMAKE_BINARY_DIR}/changelog "kavril (${PROJECT_VERSION}) unstable; urgency=medium

  * Version ${PROJECT_VERSION}; the source's CHANGELOG.md tells what is new.

 -- ${maintainer}  ${date}
")
# gzip -n: CMake's own would put the time of day into the file.
execute_process(COMMAND gzip -9nf ${CMAKE_BINARY_DIR}/changelog COMMAND_ERROR_IS_FATAL ANY)

# The bill of materials names what the program has of others, once it is known.
set(headers "")
if(TARGET kavril_program)
  find_package(CLI11 QUIET)
  find_package(nlohmann_json QUIET)
  find_package(Boost QUIET)
  set(headers "CLI11 ${CLI11_VERSION} BSD-3-Clause" "nlohmann-json ${nlohmann_json_VERSION} MIT"
      "Boost ${Boost_VERSION} BSL-1.0")
endif()
add_custom_target(kavril_spdx ALL
  COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=${KAVRIL_EPOCH}
          ${CMAKE_COMMAND} -DTO=kavril.spdx.json -DVERSION=${PROJECT_VERSION}
          "-DHEADERS=${headers}" -DBUNDLED=${KAVRIL_BUNDLED}
          -P ${CMAKE_CURRENT_LIST_DIR}/spdx.cmake
  BYPRODUCTS ${CMAKE_BINARY_DIR}/kavril.spdx.json
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  VERBATIM)
if(TARGET kavril_report_page)
  add_dependencies(kavril_spdx kavril_report_page)
endif()

# debian_package(COMPONENT NAME ARCHITECTURE SECTION DESCRIPTION [FIELD VALUE]...)
function(debian_package component name architecture section description)
  string(TOUPPER ${component} key)
  set(fields NAME ${name} SECTION ${section} ${ARGN})
  if(architecture STREQUAL "all")
    list(APPEND fields ARCHITECTURE all)
  endif()
  while(fields)
    list(POP_FRONT fields field value)
    set(CPACK_DEBIAN_${key}_PACKAGE_${field} ${value} PARENT_SCOPE)
  endwhile()
  set(CPACK_COMPONENT_${key}_DESCRIPTION ${description} PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  install(FILES ${CMAKE_BINARY_DIR}/copyright ${CMAKE_BINARY_DIR}/changelog.gz
                ${CMAKE_BINARY_DIR}/kavril.spdx.json
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endfunction()

# What other packages that link the shared library depend on, and the refresh of the
# dynamic linker's cache.
set(core libkavril-core${PROJECT_VERSION_MAJOR})
file(WRITE ${CMAKE_BINARY_DIR}/control/shlibs
     "libkavril_core ${PROJECT_VERSION_MAJOR} ${core} (>= ${PROJECT_VERSION})\n")
file(WRITE ${CMAKE_BINARY_DIR}/control/triggers "activate-noawait ldconfig\n")

set(about "Paths, preemption and shared backups for LSPs in MPLS-style networks.")
set(CPACK_COMPONENTS_ALL "")
debian_package(core ${core} any libs "${about}
This package has the shared library for C++ programs."
  DEPENDS "libc6 (>= 2.14)" SHLIBDEPS OFF)
# CPack's own script after an installation calls ldconfig, which Debian leaves to a trigger; it
# adds none where it does not look for libraries. The test of the packages sees what is needed.
set(CPACK_DEBIAN_CORE_PACKAGE_CONTROL_EXTRA
    ${CMAKE_BINARY_DIR}/control/shlibs ${CMAKE_BINARY_DIR}/control/triggers)
debian_package(dev libkavril-dev any libdevel "${about}
This package has the headers and the static library."
  DEPENDS "${core} (= ${PROJECT_VERSION})" SUGGESTS g++)
debian_package(doc libkavril-doc all doc "${about}
This package has the documentation and the sources of the Java classes.")
if(KAVRIL_JAVA)
  debian_package(jni libkavril-jni any java "${about}
This package has the native library for Java."
    SUGGESTS libsqlite3-0)
  debian_package(java libkavril-java all java "${about}
This package has the Java classes."
    RECOMMENDS "libkavril-jni (= ${PROJECT_VERSION})"
    SUGGESTS "default-jre-headless (>= 2:1.11)")
endif()
if(TARGET kavril_wasm)
  debian_package(javascript node-kavril all javascript "${about}
This package has the module for JavaScript, compiled to WebAssembly."
    SUGGESTS nodejs)
endif()
if(TARGET kavril_program)
  debian_package(program kavril any net "${about}
This package has the program kavril, which plans networks and audits plans.")
endif()
include(CPack)
