# README quotes the coverage figure that the build generates from the
# declaration table and the registered operators; the two must agree.
file(READ ${COVERAGE} figure)
string(STRIP "${figure}" figure)
file(READ ${README} readme)
string(FIND "${readme}" "${figure}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not quote \"${figure}\"")
endif()
