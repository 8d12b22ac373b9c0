# The scanner and parser of number texts, which flex and Bison generate at build time. Sources
# include the generated header as "strtonum/parser.h".
find_package(FLEX 2.6 REQUIRED)
find_package(BISON 3.8 REQUIRED)

set(generated_dir ${PROJECT_BINARY_DIR}/generated/strtonum)
file(MAKE_DIRECTORY ${generated_dir})
set(bison_flags -Wall)
if(VELMOR_CORE_WERROR)
  string(APPEND bison_flags " -Werror")
endif()
bison_target(StrToNumParser strtonum/parser.yy ${generated_dir}/parser.cpp
             DEFINES_FILE ${generated_dir}/parser.h
             COMPILE_FLAGS "${bison_flags}")
flex_target(StrToNumScanner strtonum/scanner.l ${generated_dir}/scanner.cpp)
add_flex_bison_dependency(StrToNumScanner StrToNumParser)

target_sources(velmor-core-objects PRIVATE ${BISON_StrToNumParser_OUTPUTS}
                                           ${FLEX_StrToNumScanner_OUTPUTS})
target_include_directories(velmor-core-objects SYSTEM PRIVATE ${PROJECT_BINARY_DIR}/generated)
# The code that flex generates uses C casts.
set_source_files_properties(${FLEX_StrToNumScanner_OUTPUTS} PROPERTIES
                            COMPILE_OPTIONS "-Wno-old-style-cast;-Wno-conversion")
