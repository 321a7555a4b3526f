# Runs the generator over the declaration table. The number of shards of
# the procedural functions is fixed so that CMake knows every output file
# in advance and the shards compile in parallel.
set(VEXA_GEN_DIR ${CMAKE_BINARY_DIR}/generated)
set(VEXA_PROC_SHARDS 8)
file(GLOB VEXA_DECL_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/decl/*.txt
     ${PROJECT_SOURCE_DIR}/decl/operators/*.tbl)
file(GLOB VEXA_CODEGEN_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/codegen/*.py)

set(VEXA_GEN_PROC_SOURCES)
math(EXPR _last "${VEXA_PROC_SHARDS} - 1")
foreach(i RANGE ${_last})
  list(APPEND VEXA_GEN_PROC_SOURCES ${VEXA_GEN_DIR}/vexaobj/procedural_${i}.cpp)
endforeach()
set(VEXA_GEN_OUTPUTS
    ${VEXA_GEN_PROC_SOURCES}
    ${VEXA_GEN_DIR}/include/vexaobj/VProcedural.h
    ${VEXA_GEN_DIR}/runtime/op_table.cpp
    ${VEXA_GEN_DIR}/tests/signatures_test.cpp
    ${VEXA_GEN_DIR}/tests/sweep_calls.inc)

add_custom_command(
  OUTPUT ${VEXA_GEN_OUTPUTS}
  COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/codegen/generate.py
          --decl ${PROJECT_SOURCE_DIR}/decl --out ${VEXA_GEN_DIR}
          --shards ${VEXA_PROC_SHARDS}
  DEPENDS ${VEXA_DECL_FILES} ${VEXA_CODEGEN_FILES}
  COMMENT "Generating operator wrappers and tables from decl/"
  VERBATIM)
add_custom_target(vexa_generated DEPENDS ${VEXA_GEN_OUTPUTS})
