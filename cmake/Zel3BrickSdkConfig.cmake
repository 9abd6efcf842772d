# Read by find_package(Zel3BrickSdk). Link a brick with Zel3::brickhost, which brings the headers, the blocks, Qt Core
# and the string ABI with it.
include(${CMAKE_CURRENT_LIST_DIR}/qt_core.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Zel3BrickSdkTargets.cmake)
