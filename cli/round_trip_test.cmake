# vexa-op writes the region gen_circle makes and reads it back for
# area_center; the printed area must be that of the disc.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${VEXA_OP} gen_circle row=50 column=60 radius=10.5 --out ${WORK}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT EXISTS ${WORK}/circle_1.vxr)
  message(FATAL_ERROR "gen_circle failed (${rc}): ${out}")
endif()
execute_process(COMMAND ${VEXA_OP} area_center regions=${WORK}/circle_1.vxr
                RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "area = 349")
  message(FATAL_ERROR "area_center gave (${rc}): ${out}")
endif()
execute_process(COMMAND ${VEXA_OP} area_center nonsense=1 RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 2 OR NOT err MATCHES "no input parameter")
  message(FATAL_ERROR "an unknown parameter gave (${rc}): ${err}")
endif()
