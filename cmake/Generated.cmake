# Runs the generator over the declaration table. The number of shards of
# the procedural functions is fixed so that CMake knows every output file
# in advance and the shards compile in parallel.
set(VEXA_GEN_DIR ${CMAKE_BINARY_DIR}/generated)
set(VEXA_PROC_SHARDS 8)
set(VEXA_METHOD_SHARDS 2)
set(VEXA_TOOL_SHARDS 4)
file(GLOB VEXA_DECL_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/decl/*.txt
     ${PROJECT_SOURCE_DIR}/decl/operators/*.tbl ${PROJECT_SOURCE_DIR}/decl/classes/*.txt)
file(GLOB VEXA_CODEGEN_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/codegen/*.py)
# The reference marks the operators that runtime/ops registers and quotes
# their lines from docs/operators/.
file(GLOB_RECURSE VEXA_OPS_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/runtime/ops/*.cpp)
file(GLOB VEXA_OPS_DOCS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/operators/*.md)

set(VEXA_GEN_PROC_SOURCES)
math(EXPR _last "${VEXA_PROC_SHARDS} - 1")
foreach(i RANGE ${_last})
  list(APPEND VEXA_GEN_PROC_SOURCES ${VEXA_GEN_DIR}/vexaobj/procedural_${i}.cpp)
endforeach()
# Class methods: one declarations fragment and a few definition shards for
# every class with a method list in decl/classes/. A class's definitions
# join the library once its header includes the fragment; until then the
# class's header is not there or not ready for them.
file(GLOB _method_lists CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/decl/classes/V*.txt)
file(GLOB _class_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/vexaobj/include/vexaobj/V*.h)
set(VEXA_GEN_METHOD_OUTPUTS)
set(VEXA_GEN_METHOD_SOURCES)
math(EXPR _last_method_shard "${VEXA_METHOD_SHARDS} - 1")
foreach(_list ${_method_lists})
  get_filename_component(_class ${_list} NAME_WE)
  set(_sources)
  foreach(i RANGE ${_last_method_shard})
    list(APPEND _sources ${VEXA_GEN_DIR}/vexaobj/methods_${_class}_${i}.cpp)
  endforeach()
  list(APPEND VEXA_GEN_METHOD_OUTPUTS ${_sources}
       ${VEXA_GEN_DIR}/include/vexaobj/methods/${_class}.inc
       ${VEXA_GEN_DIR}/include/vexaobj/methods/${_class}_classes.inc)
  set(_header ${PROJECT_SOURCE_DIR}/vexaobj/include/vexaobj/${_class}.h)
  if(EXISTS ${_header})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_header})
    file(READ ${_header} _text)
    string(FIND "${_text}" "methods/${_class}.inc" _at)
    if(_at GREATER -1)
      list(APPEND VEXA_GEN_METHOD_SOURCES ${_sources})
    endif()
  endif()
endforeach()

# Tool classes: one header each (byproducts), an umbrella header and the
# definitions in shards; the value classes' and the window methods'
# definitions in one file each.
set(VEXA_GEN_TOOL_SOURCES ${VEXA_GEN_DIR}/vexaobj/values.cpp
    ${VEXA_GEN_DIR}/vexaobj/window_methods.cpp)
math(EXPR _last_tool_shard "${VEXA_TOOL_SHARDS} - 1")
foreach(i RANGE ${_last_tool_shard})
  list(APPEND VEXA_GEN_TOOL_SOURCES ${VEXA_GEN_DIR}/vexaobj/tools_${i}.cpp)
endforeach()

set(VEXA_GEN_OUTPUTS
    ${VEXA_GEN_PROC_SOURCES}
    ${VEXA_GEN_TOOL_SOURCES}
    ${VEXA_GEN_DIR}/include/vexaobj/VTools.h
    ${VEXA_GEN_METHOD_OUTPUTS}
    ${VEXA_GEN_DIR}/include/vexaobj/VProcedural.h
    ${VEXA_GEN_DIR}/runtime/op_table.cpp
    ${VEXA_GEN_DIR}/runtime/op_info.cpp
    ${VEXA_GEN_DIR}/tests/signatures_test.cpp
    ${VEXA_GEN_DIR}/tests/sweep_calls.inc
    ${VEXA_GEN_DIR}/tests/sweep_params.inc
    ${VEXA_GEN_DIR}/docs/operators.md
    ${VEXA_GEN_DIR}/docs/coverage.txt)

add_custom_command(
  OUTPUT ${VEXA_GEN_OUTPUTS}
  COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/codegen/generate.py
          --decl ${PROJECT_SOURCE_DIR}/decl --out ${VEXA_GEN_DIR}
          --shards ${VEXA_PROC_SHARDS} --method-shards ${VEXA_METHOD_SHARDS}
          --tool-shards ${VEXA_TOOL_SHARDS}
          --ops ${PROJECT_SOURCE_DIR}/runtime/ops --docs ${PROJECT_SOURCE_DIR}/docs/operators
  DEPENDS ${VEXA_DECL_FILES} ${VEXA_CODEGEN_FILES} ${VEXA_OPS_SOURCES} ${VEXA_OPS_DOCS}
  COMMENT "Generating operator wrappers and tables from decl/"
  VERBATIM)
add_custom_target(vexa_generated DEPENDS ${VEXA_GEN_OUTPUTS})
