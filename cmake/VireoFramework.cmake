# The framework's own headers and libraries, installed under VIREO_FRAMEWORK_DIR, under the names of the
# targets that this project otherwise builds itself.

function(vireo_import_framework_library target file)
  find_library(${target}_LIBRARY NAMES ${file} PATHS "${VIREO_FRAMEWORK_DIR}" PATH_SUFFIXES
               "${CMAKE_INSTALL_LIBDIR}" "lib/${CMAKE_LIBRARY_ARCHITECTURE}" lib NO_DEFAULT_PATH REQUIRED)
  add_library(${target} SHARED IMPORTED)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${${target}_LIBRARY}"
                        INTERFACE_INCLUDE_DIRECTORIES "${VIREO_FRAMEWORK_DIR}/include")
endfunction()

vireo_import_framework_library(brioFndDefs brioFndDefs)
vireo_import_framework_library(vireo_com vireo_com)
vireo_import_framework_library(vireo_genicam vireo_genicam)
target_link_libraries(vireo_com INTERFACE brioFndDefs)
target_link_libraries(vireo_genicam INTERFACE vireo_com)
# The accessors in the framework's headers log under the same path as in a build of the whole.
target_compile_options(vireo_build INTERFACE
  "-fmacro-prefix-map=${VIREO_FRAMEWORK_DIR}/include/=../common/src/include/")
