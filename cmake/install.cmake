# What an installation has, and the Debian package.
#
# Included by the top CMakeLists.txt after all targets.

# The headers of the core that a C++ caller may include; all others are private.
set(public_headers
  common/common.h
  common/long_list.h
  common/memory.h
  common/scoped.h
  common/setup.h
  common/types.h
  common/vector.h
  computation/backup/backup.h
  computation/backup/backup_st.h
  computation/backup/dijkstra.h
  computation/computation.h
  computation/computation_st.h
  computation/primary/primaryPath.h
  computation/primary/primaryPath_util.h
  database/database.h
  database/database_st.h
  database/database_util.h
  database/link_state.h
  database/link_update.h
  database/lsp.h
  database/lsp_setup.h
  database/lsp_type.h
  database/reserved_bandwidth.h
  error/error.h
  predicate/predicate.h
  rerouting/rerouting.h)

include(CMakePackageConfigHelpers)
set(java_dir ${CMAKE_INSTALL_DATADIR}/java)
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KAVRIL)
set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kavril_core EXPORT KAVRILTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kavril)
foreach(header IN LISTS public_headers)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kavril/${folder})
endforeach()
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)
install(FILES README.md docs/model.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

if(KAVRIL_JAVA)
  # The folder jni is on Debian's java.library.path.
  install(TARGETS kavril LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/jni)
  foreach(jar kavril kavril-sources kavril-javadoc)
    install(FILES ${CMAKE_BINARY_DIR}/lib/${jar}.jar DESTINATION ${java_dir}
            RENAME ${jar}-${PROJECT_VERSION}.jar)
  endforeach()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/link)
  file(CREATE_LINK kavril-${PROJECT_VERSION}.jar ${CMAKE_BINARY_DIR}/link/kavril.jar SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/link/kavril.jar DESTINATION ${java_dir})
  install(FILES ${CMAKE_BINARY_DIR}/lib/kavril.pom DESTINATION ${java_dir}
          RENAME kavril-${PROJECT_VERSION}.pom)
endif()

# find_package(KAVRIL) gives KAVRIL::core and KAVRIL_JAR.
set_target_properties(kavril_core PROPERTIES EXPORT_NAME core)
install(EXPORT KAVRILTargets NAMESPACE KAVRIL:: DESTINATION ${cmake_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KAVRILConfig.cmake.in
  ${CMAKE_BINARY_DIR}/KAVRILConfig.cmake INSTALL_DESTINATION ${cmake_dir} PATH_VARS java_dir)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KAVRILConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KAVRILConfig.cmake ${CMAKE_BINARY_DIR}/KAVRILConfigVersion.cmake
  DESTINATION ${cmake_dir})

# The way from the .pc file back to the prefix, so that an installation may be moved.
file(RELATIVE_PATH pc_to_prefix /${pc_dir} /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kavril.pc.in ${CMAKE_BINARY_DIR}/kavril.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kavril.pc DESTINATION ${pc_dir})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kavril)
set(CPACK_PACKAGE_CONTACT "KAVRIL maintainers <maintainers@kavril.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "default-jre-headless (>= 2:1.11), g++")
include(CPack)
