# Flags of our own builds: velmor_core_warnings for everything that is compiled here, and the
# sanitizers where a preset asks for them.
add_library(velmor_core_warnings INTERFACE)
target_compile_options(velmor_core_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion
                       -Wshadow=local $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # Clang has no =local; plain -Wshadow is close to it there (constructor parameters excepted).
  get_target_property(options velmor_core_warnings INTERFACE_COMPILE_OPTIONS)
  list(REMOVE_ITEM options -Wshadow=local)
  set_target_properties(velmor_core_warnings PROPERTIES INTERFACE_COMPILE_OPTIONS "${options}")
endif()
# Not for sanitised builds: g++ 12 warns falsely of overflows in the code that it instruments.
if(VELMOR_CORE_WERROR)
  target_compile_options(velmor_core_warnings INTERFACE -Werror)
endif()

# The same bytes from every folder: no path of it gets into what is built. Debug builds keep the
# paths, for debuggers and coverage.
target_compile_options(velmor_core_warnings INTERFACE $<$<NOT:$<CONFIG:Debug>>:
                       -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
                       -ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)

if(VELMOR_CORE_SANITIZE)
  add_compile_options(-fsanitize=${VELMOR_CORE_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VELMOR_CORE_SANITIZE})
endif()
