# What an installation has, in components: a package of packages.cmake each.
#
# Included by the top CMakeLists.txt after all targets.
include(CMakePackageConfigHelpers)
set(java_dir ${CMAKE_INSTALL_DATADIR}/java)
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KAVRIL)
set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# For C++: KAVRIL::core and KAVRIL::shared.
set_target_properties(kavril_core PROPERTIES EXPORT_NAME core)
set_target_properties(kavril_shared PROPERTIES EXPORT_NAME shared)
install(TARGETS kavril_core kavril_shared EXPORT KAVRILTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT core NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kavril)
foreach(header IN LISTS KAVRIL_PUBLIC_HEADERS)
  cmake_path(GET header PARENT_PATH folder)
  find_file(path ${header} PATHS src ${CMAKE_BINARY_DIR}/include
            NO_CACHE REQUIRED NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  install(FILES ${path} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kavril/${folder} COMPONENT dev)
  unset(path)
endforeach()

install(EXPORT KAVRILTargets NAMESPACE KAVRIL:: DESTINATION ${cmake_dir} COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KAVRILConfig.cmake.in
  ${CMAKE_BINARY_DIR}/KAVRILConfig.cmake INSTALL_DESTINATION ${cmake_dir} PATH_VARS java_dir)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KAVRILConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KAVRILConfig.cmake ${CMAKE_BINARY_DIR}/KAVRILConfigVersion.cmake
  DESTINATION ${cmake_dir} COMPONENT dev)

# The way from the .pc file back to the prefix, so that an installation may be moved.
file(RELATIVE_PATH pc_to_prefix /${pc_dir} /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kavril.pc.in ${CMAKE_BINARY_DIR}/kavril.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kavril.pc DESTINATION ${pc_dir} COMPONENT dev)

install(FILES README.md docs/model.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)

# Where Debian's Node looks for modules.
if(TARGET kavril_wasm)
  foreach(file package.json README.md checks.mjs engine.mjs kavril.d.mts kavril.mjs kavril.wasm
          reason.mjs request.mjs)
    install(FILES ${KAVRIL_NPM_PACKAGE}/${file}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/nodejs/kavril COMPONENT javascript)
  endforeach()
endif()

if(KAVRIL_JAVA)
  # The folder jni is on Debian's java.library.path.
  install(TARGETS kavril LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/jni COMPONENT jni)
  foreach(jar kavril kavril-sources kavril-javadoc)
    if(jar STREQUAL "kavril")
      set(component java)
    else()
      set(component doc)
    endif()
    install(FILES ${CMAKE_BINARY_DIR}/lib/${jar}.jar DESTINATION ${java_dir}
            RENAME ${jar}-${PROJECT_VERSION}.jar COMPONENT ${component})
  endforeach()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/link)
  file(CREATE_LINK kavril-${PROJECT_VERSION}.jar ${CMAKE_BINARY_DIR}/link/kavril.jar SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/link/kavril.jar DESTINATION ${java_dir} COMPONENT java)
  install(FILES ${CMAKE_BINARY_DIR}/lib/kavril.pom DESTINATION ${java_dir}
          RENAME kavril-${PROJECT_VERSION}.pom COMPONENT java)
endif()
