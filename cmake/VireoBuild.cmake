# How everything here is compiled: language, warnings, visibility, sanitizers and the paths in log records.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The tool and the tests find the plug-in beside themselves.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

add_library(vireo_build INTERFACE)
target_compile_options(vireo_build INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast
  # GCC 12 warns of overlapping copies inside std::string that cannot happen (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  # A record names its source file; that name must not depend on where the build tree lies.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=../")
target_link_options(vireo_build INTERFACE -Wl,--no-undefined -Wl,--as-needed)
if(DEFINED ENV{CI})
  target_compile_options(vireo_build INTERFACE -Werror)
endif()

if(VIREO_SANITIZE)
  # Sanitized libraries leave the runtime's symbols to the executable.
  set_property(TARGET vireo_build PROPERTY INTERFACE_LINK_OPTIONS -Wl,--as-needed)
  add_compile_options(-fsanitize=${VIREO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VIREO_SANITIZE})
endif()
