# Runs the guide's program and holds it to what the guide says it does: it succeeds, prints the
# component's VLNV, and writes a document that the program itself reads again to the same VLNV.
file(REMOVE ${OUTPUT})
execute_process(COMMAND ${PROGRAM} ${INPUT} ${OUTPUT}
                OUTPUT_VARIABLE printed ERROR_VARIABLE complaints RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} exited with ${result}:\n${complaints}")
endif()
string(STRIP "${printed}" printed)
if(NOT printed STREQUAL EXPECTED_STDOUT)
  message(FATAL_ERROR "printed '${printed}', expected '${EXPECTED_STDOUT}'")
endif()
if(NOT EXISTS ${OUTPUT})
  message(FATAL_ERROR "${OUTPUT} was not written")
endif()
execute_process(COMMAND ${PROGRAM} ${OUTPUT} ${OUTPUT}.again
                OUTPUT_VARIABLE reprinted RESULT_VARIABLE result)
string(STRIP "${reprinted}" reprinted)
if(NOT result EQUAL 0 OR NOT reprinted STREQUAL EXPECTED_STDOUT)
  message(FATAL_ERROR "the written document does not read back: exit ${result}, printed '${reprinted}'")
endif()
