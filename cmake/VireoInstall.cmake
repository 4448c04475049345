# Where everything goes when it is installed, and what other projects find it by. Two components: `runtime` is
# what a host needs, `development` is what a build against it needs.

include(CMakePackageConfigHelpers)

# Libraries find their neighbours, and programs the libraries, wherever the tree is put.
set(CMAKE_INSTALL_RPATH "$ORIGIN")
file(RELATIVE_PATH librariesFromPrograms "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(VIREO_PROGRAM_RPATH "$ORIGIN/${librariesFromPrograms}")

# vireo_install_library(TARGET HEADERS): a library, shared or of headers alone, and the folder that its public
# headers lie in.
function(vireo_install_library target headers)
  if(NOT VIREO_FRAMEWORK_DIR)
    set(export EXPORT vireo_genicam-targets)
  endif()
  install(TARGETS ${target} ${export}
          LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime)
  install(DIRECTORY "${headers}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
          FILES_MATCHING PATTERN "*.h")
endfunction()

# The files that find_package() and pkg-config read.
function(vireo_install_package_files)
  set(configDir "${CMAKE_INSTALL_LIBDIR}/cmake/vireo_genicam")
  set(generated "${PROJECT_BINARY_DIR}/package")
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/vireo_genicam-config.cmake.in"
    "${generated}/vireo_genicam-config.cmake" INSTALL_DESTINATION "${configDir}"
    NO_SET_AND_CHECK_MACRO)
  # Before 1.0 a minor version may change the interface.
  write_basic_package_version_file("${generated}/vireo_genicam-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${generated}/vireo_genicam-config.cmake" "${generated}/vireo_genicam-config-version.cmake"
          DESTINATION "${configDir}" COMPONENT development)
  install(EXPORT vireo_genicam-targets NAMESPACE vireo_genicam:: DESTINATION "${configDir}"
          COMPONENT development)

  file(RELATIVE_PATH prefixFromPc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/vireo_genicam.pc.in" "${generated}/vireo_genicam.pc" @ONLY)
  install(FILES "${generated}/vireo_genicam.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT development)

  # Debian wants the licence under this name, once a package.
  set(docDir "${CMAKE_INSTALL_DATADIR}/doc")
  install(FILES "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${docDir}/vireo-genicam" COMPONENT runtime)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${docDir}/vireo-genicam" RENAME copyright
          COMPONENT runtime)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${docDir}/vireo-genicam-dev" RENAME copyright
          COMPONENT development)
endfunction()
