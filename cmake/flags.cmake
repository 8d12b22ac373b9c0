# Flags of everything that is compiled here: warnings, reproducible paths, and the sanitizers that
# VELMOR_CORE_SANITIZE names.
add_library(velmor_core_warnings INTERFACE)
target_compile_options(velmor_core_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion
                       -Wshadow=local $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # Clang does not know -Wshadow=local.
  get_target_property(options velmor_core_warnings INTERFACE_COMPILE_OPTIONS)
  list(REMOVE_ITEM options -Wshadow=local)
  set_target_properties(velmor_core_warnings PROPERTIES INTERFACE_COMPILE_OPTIONS "${options}")
endif()
# The presets with sanitizers leave -Werror out: in instrumented code, g++ 12 warns of overflows
# that cannot occur.
if(VELMOR_CORE_WERROR)
  target_compile_options(velmor_core_warnings INTERFACE -Werror)
endif()

# A build gives the same bytes in every folder, since it stores no path of the folder. Debug builds
# keep the paths for debuggers and coverage.
target_compile_options(velmor_core_warnings INTERFACE $<$<NOT:$<CONFIG:Debug>>:
                       -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
                       -ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)

# Hardening: flags that make a fault in the code harder to abuse. All builds have them, not only
# packages. Sanitizers check more, so builds with them leave the flags out. Fortified calls need an
# optimised build. A distribution may have set a level of _FORTIFY_SOURCE, so -U removes it first.
add_library(velmor_core_hardening INTERFACE)
if(NOT VELMOR_CORE_SANITIZE)
  target_compile_options(velmor_core_hardening INTERFACE
    -fstack-protector-strong -fcf-protection
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>)
  target_link_options(velmor_core_hardening INTERFACE LINKER:-z,relro,-z,now)
endif()

if(VELMOR_CORE_SANITIZE)
  add_compile_options(-fsanitize=${VELMOR_CORE_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VELMOR_CORE_SANITIZE})
endif()
