# What every target of the project is built with.
get_property(zel3_many_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT CMAKE_BUILD_TYPE AND NOT zel3_many_configurations)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "As what it is built" FORCE)
endif()
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Libraries go where Debian has those of their architecture, so that both ABIs fit under one prefix.
set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE STRING "Folder of libraries under the prefix")
include(GNUInstallDirs)

# Programs find libraries relative to their own folder, in the build as well as where they are installed. One run path
# serves both: if the two differed, CMake would pad the shorter one with empty parts, which mean the current folder.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH $ORIGIN/../lib $ORIGIN/../${CMAKE_INSTALL_LIBDIR})

set(ZEL3_SANITIZE "" CACHE STRING "Sanitizers, separated by commas: address,undefined or thread")
option(ZEL3_COVERAGE "Instrument for line and branch coverage" OFF)
option(ZEL3_FUZZ "Make the fuzzers, with clang" OFF)

# Records that cross brick boundaries hold strings of one pointer, so every part uses the older string ABI.
set(ZEL3_STRING_ABI _GLIBCXX_USE_CXX11_ABI=0)
add_compile_definitions(${ZEL3_STRING_ABI} _FILE_OFFSET_BITS=64)
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)
# Plug-ins run with any Qt that has the functions they call, not only with one as new as the headers.
add_compile_definitions(QT_NO_VERSION_TAGGING)
# Qt refuses position-dependent code and -fPIE alike.
add_compile_options(-fPIC -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wmultichar -Werror)
# What is built names no folder of this machine, not even in its debug information: builds of the same sources are
# identical, wherever they are made.
foreach(folder ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  add_compile_options(-fdebug-prefix-map=${folder}=. -fmacro-prefix-map=${folder}=.)
endforeach()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Older compilers align the stack to 4 bytes only, and code built by them calls these functions. The functions align
  # it for all that they call in turn, because Qt needs that, too. (With -mstackrealign GCC aligns it only in functions
  # that need it themselves.)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-mincoming-stack-boundary=2)
  else()
    add_compile_options(-mstackrealign)
  endif()
endif()

# Every symbol is bound when a file is loaded, and the tables for that are read-only from then on. So calls into other
# libraries need no stubs that would bind them later.
add_link_options(-Wl,-z,relro -Wl,-z,now)
add_compile_options(-fno-plt)

# Unity builds take half of the time. The presets fuzz and coverage do without them, and so find missing includes.
if(CMAKE_UNITY_BUILD)
  # The compiler takes files that are compiled together for headers, and warns about their unnamed namespaces.
  add_compile_options(-Wno-subobject-linkage)
  set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)
endif()
if(ZEL3_SANITIZE)
  # No alignment check: packed records hold members at odd addresses on purpose.
  add_compile_options(-fsanitize=${ZEL3_SANITIZE} -fno-sanitize=alignment -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZEL3_SANITIZE})
endif()
if(ZEL3_SANITIZE OR ZEL3_COVERAGE OR ZEL3_FUZZ)
  # Builds that look for mistakes also check assertions.
  add_compile_options(-UNDEBUG)
else()
  # The assertions of Qt are checked only where all others are: they must not end a host.
  add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:QT_NO_DEBUG>)
endif()
if(ZEL3_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
# What plug-ins are compiled with: hosts need not provide type information at run time. The sanitizers need it.
set(ZEL3_PLUGIN_COMPILE_OPTIONS -fno-rtti)
if(ZEL3_SANITIZE)
  set(ZEL3_PLUGIN_COMPILE_OPTIONS "")
endif()
# What plug-ins for the reference host are linked with: a symbol that neither they nor the host have fails the build.
set(ZEL3_PLUGIN_LINK_OPTIONS -Wl,--no-undefined)
if(ZEL3_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  # With clang the program provides the symbols of the sanitizers.
  set(ZEL3_PLUGIN_LINK_OPTIONS "")
endif()
