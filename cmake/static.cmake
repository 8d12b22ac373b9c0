# libvelmor-core.a: offers the C interface and nothing else, as the shared library does. The classes
# have common names, such as RIFF::Chunk, and a program may have its own classes of these names. So
# all object files are linked to a single one, and every other symbol in it becomes local.
if(VELMOR_CORE_BUILD_TESTS)
  message(FATAL_ERROR "The tests need the shared library: set BUILD_SHARED_LIBS to ON, or "
                      "VELMOR_CORE_BUILD_TESTS to OFF.")
endif()

# Two kinds of symbols cannot become local: those of link-time optimisation, and GNU's unique ones.
# So both are switched off.
set_target_properties(velmor-core-objects PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
target_compile_options(velmor-core-objects PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
set(object ${CMAKE_CURRENT_BINARY_DIR}/velmor-core.o)
add_custom_command(OUTPUT ${object}
  COMMAND ${CMAKE_CXX_COMPILER} -r -nostdlib -Wl,--force-group-allocation -o ${object}.all
          $<TARGET_OBJECTS:velmor-core-objects>
  COMMAND ${CMAKE_OBJCOPY} --wildcard --keep-global-symbol=velmor_core_* ${object}.all ${object}
  DEPENDS $<TARGET_OBJECTS:velmor-core-objects>
  COMMAND_EXPAND_LISTS VERBATIM
)
add_library(velmor-core STATIC ${object})
set_target_properties(velmor-core PROPERTIES LINKER_LANGUAGE C)
# A program in C needs the C++ library as well.
target_link_libraries(velmor-core INTERFACE stdc++ m)
