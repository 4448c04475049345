# Libraries from the system, each as an imported target.

find_package(PkgConfig REQUIRED)
find_package(fmt REQUIRED)
find_package(Boost REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(Aravis REQUIRED IMPORTED_TARGET aravis-0.8)
if(NOT VIREO_FRAMEWORK_DIR)
  find_package(pugixml REQUIRED)
endif()
