# Compiles the sources of the library to object files, and makes the library of them:
# libvelmor-core.so.0, or libvelmor-core.a if BUILD_SHARED_LIBS is OFF. Tests of the classes link
# the object files directly.
find_package(Boost REQUIRED)  # headers only; none of its libraries is linked

add_library(velmor-core-objects OBJECT
  api/cpu.cpp
  api/frame.cpp
  api/hash.cpp
  api/memory.cpp
  api/riff.cpp
  api/str_to.cpp
  api/uuid.cpp
  core/cpu_features.cpp
  core/platform.cpp
  core/sha256.cpp
  core/sha256_compress.cpp
  core/sha256_compress_portable.cpp
  core/sha256_compress_shani.cpp
  core/uuid.cpp
  riff/cache_object.cpp
  riff/chunk.cpp
  riff/chunk_pool.cpp
  riff/data_chunk.cpp
  riff/file_object.cpp
  riff/free_index.cpp
  riff/free_list.cpp
  riff/free_space.cpp
  riff/group_chunk.cpp
  riff/memory_object.cpp
  riff/object.cpp
  strtonum/calc_node.cpp
  strtonum/convert.cpp
  strtonum/driver.cpp
  strtonum/number.cpp
  strtonum/plain_expression.cpp
)
set_target_properties(velmor-core-objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_include_directories(velmor-core-objects
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR}
)
target_link_libraries(velmor-core-objects PRIVATE $<BUILD_INTERFACE:velmor_core_warnings>
                      $<BUILD_INTERFACE:velmor_core_hardening> $<BUILD_INTERFACE:Boost::headers>)
include(cmake/strtonum.cmake)

if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  include(cmake/static.cmake)
else()
  include(cmake/shared.cmake)
endif()
add_library(velmor::core ALIAS velmor-core)
target_include_directories(velmor-core INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
)
set_target_properties(velmor-core PROPERTIES EXPORT_NAME core)
