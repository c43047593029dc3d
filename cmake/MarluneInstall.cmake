# Headers, library, resources, and the two ways to find them: a CMake package and a pkg-config file.
# Both are relocatable: an installed tree may be moved as a whole.
include(CMakePackageConfigHelpers)

set(MARLUNE_RESOURCE_DIR ${CMAKE_INSTALL_DATADIR}/marlune)
set(MARLUNE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/marlune)
get_target_property(library_type marlune TYPE)
set(MARLUNE_STATIC ON)
if(library_type STREQUAL "SHARED_LIBRARY")
  set(MARLUNE_STATIC OFF)
endif()

install(TARGETS marlune EXPORT marluneTargets)
install(EXPORT marluneTargets NAMESPACE marlune:: DESTINATION ${MARLUNE_PACKAGE_DIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/ DESTINATION ${MARLUNE_RESOURCE_DIR})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/marluneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/marluneConfig.cmake
  INSTALL_DESTINATION ${MARLUNE_PACKAGE_DIR} PATH_VARS MARLUNE_RESOURCE_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/marluneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/marluneConfig.cmake
  ${PROJECT_BINARY_DIR}/package/marluneConfigVersion.cmake DESTINATION ${MARLUNE_PACKAGE_DIR})

# What a static library stands on belongs to every link with it, not only to fully static ones, which is what
# pkg-config's private lists are for: those pull in the archives of the archives.
set(requires expat fmt simdjson libcurl zlib libzstd libarchive)
if(MARLUNE_STATIC)
  list(JOIN requires " " requires)
  set(MARLUNE_PC_CFLAGS "")
  set(MARLUNE_PC_LIBS "Requires: ${requires}\nLibs: -L\${libdir} -lmarlune -lcctz -lutf8proc -pthread")
else()
  list(JOIN requires " " requires)
  set(MARLUNE_PC_CFLAGS " -DMARLUNE_SHARED")
  set(MARLUNE_PC_LIBS "Libs: -L\${libdir} -lmarlune\nRequires.private: ${requires}\nLibs.private: -lcctz -lutf8proc -pthread")
endif()
file(RELATIVE_PATH MARLUNE_PC_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" MARLUNE_PC_TO_PREFIX "${MARLUNE_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/marlune.pc.in ${PROJECT_BINARY_DIR}/package/marlune.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/marlune.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The installed command finds a shared library in its own tree, wherever that lies.
if(TARGET marlune_command AND NOT MARLUNE_STATIC)
  file(RELATIVE_PATH to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(marlune_command PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
endif()
