# Debian packages by `cpack`: vireo-genicam runs, vireo-genicam-dev builds against it. Configure with
# CMAKE_INSTALL_PREFIX=/usr, so that libraries go where the system looks for them.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vireo-genicam)
set(CPACK_PACKAGE_CONTACT "The vireo-genicam authors <vireo-genicam@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vireo-genicam)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Camera adapter plug-in for GigE Vision and USB3 Vision cameras,\n\
the libraries it needs, and the command-line host vireo-cam with\n\
its simulated cameras.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME vireo-genicam-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "vireo-genicam (= ${PROJECT_VERSION}), libfmt-dev, libboost-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, CMake package and pkg-config file for hosts and adapters.")

include(CPack)
