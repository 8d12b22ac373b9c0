# libvelmor-core.so.0: exports the C interface, each function under the version node VELMOR_CORE_0.
set(export_list ${PROJECT_SOURCE_DIR}/cmake/exports.map)
add_library(velmor-core SHARED)
target_link_libraries(velmor-core PRIVATE $<BUILD_INTERFACE:velmor-core-objects>)
target_link_options(velmor-core PRIVATE LINKER:--version-script=${export_list})
if(NOT VELMOR_CORE_SANITIZE)
  target_link_options(velmor-core PRIVATE LINKER:--no-undefined)
endif()
# SOVERSION is the number of the binary interface, in the SONAME and in the version node. It changes
# only when programs would have to be linked again. The release's number comes after it in the name
# of the file.
set_target_properties(velmor-core PROPERTIES
  SOVERSION 0
  VERSION 0.${PROJECT_VERSION}
  LINKER_LANGUAGE CXX
  LINK_DEPENDS ${export_list}
)
