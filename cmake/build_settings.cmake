# What every target of the project is built with.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Libraries go where Debian has those of their architecture, so that both ABIs fit under one prefix.
set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE STRING "Folder of libraries under the prefix")
include(GNUInstallDirs)

set(ZEL3_SANITIZE "" CACHE STRING "Sanitizers, separated by commas: address,undefined or thread")
option(ZEL3_COVERAGE "Instrument for line and branch coverage" OFF)
option(ZEL3_FUZZ "Make the fuzzers, with clang" OFF)

# Records that cross brick boundaries hold strings of one pointer, so every part uses the older string ABI.
set(ZEL3_STRING_ABI _GLIBCXX_USE_CXX11_ABI=0)
add_compile_definitions(${ZEL3_STRING_ABI} _FILE_OFFSET_BITS=64)
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)
# Qt refuses position-dependent code and -fPIE alike.
add_compile_options(-fPIC -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wmultichar -Werror)

# Saves half of the time. The preset native goes without: it finds files that lack an include.
if(CMAKE_UNITY_BUILD)
  # The unnamed namespaces of files that are compiled together are not those of headers.
  add_compile_options(-Wno-subobject-linkage)
  set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)
endif()
if(ZEL3_SANITIZE)
  # Packed records hold members at odd addresses on purpose, hence no alignment check.
  add_compile_options(-fsanitize=${ZEL3_SANITIZE} -fno-sanitize=alignment -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZEL3_SANITIZE})
endif()
if(ZEL3_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
# What plug-ins are linked with: a symbol that neither they nor the host have is found at once.
set(ZEL3_PLUGIN_LINK_OPTIONS -Wl,--no-undefined)
if(ZEL3_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  # With clang the sanitizers' symbols are those of the program.
  set(ZEL3_PLUGIN_LINK_OPTIONS "")
endif()
