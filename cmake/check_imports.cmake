# Checks what a plug-in leaves to the process that loads it: functions of its host, and nothing else.
#   cmake -DNM=... -DPLUGIN=FILE -DQT_LIBRARY=FILE [-DHOST_LIBRARY=FILE] -P check_imports.cmake
# With HOST_LIBRARY each function must be in it. Without, each must belong to the classes that hosts offer.
function(zel3_list_symbols result file)
  execute_process(COMMAND ${NM} --dynamic --format=posix ${ARGN} ${file}
    OUTPUT_VARIABLE lines
    COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" lines "${lines}")
  set(${result} ${lines} PARENT_SCOPE)
endfunction()

# Symbols from the libraries that the plug-in names have a version, except those of Qt 4. Weak symbols may stay
# undefined.
zel3_list_symbols(needed ${PLUGIN} --undefined-only)
list(FILTER needed INCLUDE REGEX "^[^@]+ U")
list(TRANSFORM needed REPLACE " .*" "")
foreach(library ${QT_LIBRARY} ${HOST_LIBRARY})
  zel3_list_symbols(offered ${library} --defined-only)
  list(TRANSFORM offered REPLACE "[ @].*" "")
  list(REMOVE_ITEM needed ${offered})
endforeach()
if(NOT HOST_LIBRARY)
  list(FILTER needed EXCLUDE REGEX
       "^_Z(T[ISV])?N?K?(6CBrick|9cMemBlock|11CSingleLock|12CBrickLoader|16CCriticalSection|8CIniFile)")
endif()
if(needed)
  list(JOIN needed "\n  " needed)
  message(FATAL_ERROR "${PLUGIN} needs what its host does not have:\n  ${needed}")
endif()
