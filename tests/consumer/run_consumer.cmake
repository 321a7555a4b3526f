# Installs the built project into a scratch prefix, then configures, builds
# and runs a small consumer project that finds it with find_package.
set(prefix ${BIN}/consumer-prefix)
set(cbuild ${BIN}/consumer-build)
file(REMOVE_RECURSE ${prefix} ${cbuild})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BIN} --prefix ${prefix}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SRC}/tests/consumer -B ${cbuild}
                        -DCMAKE_PREFIX_PATH=${prefix}
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configure of the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${cbuild} RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "build of the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${cbuild}/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message("${out}")
if(rc)
  message(FATAL_ERROR "consumer failed: ${rc}")
endif()
