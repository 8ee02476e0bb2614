# Installs the built library into a scratch prefix, then configures, builds and runs a small
# consumer project that finds it with find_package(TARVGuitar).
file(REMOVE_RECURSE ${TARV_WORK_DIR})
set(prefix ${TARV_WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${TARV_BINARY_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "install failed: ${rc}")
endif()
# The C++ example of the README (its first cpp block) is built and run too, so that it cannot go
# stale.
file(READ ${TARV_README} readme)
string(FIND "${readme}" "```cpp\n" start)
if(start EQUAL -1)
    message(FATAL_ERROR "the README has no C++ example")
endif()
math(EXPR start "${start} + 7")
string(SUBSTRING "${readme}" ${start} -1 rest)
string(FIND "${rest}" "```" end)
string(SUBSTRING "${rest}" 0 ${end} example)
file(WRITE ${TARV_WORK_DIR}/readme_example.cpp "${example}")
execute_process(COMMAND ${CMAKE_COMMAND} -S ${TARV_CONSUMER_SOURCE_DIR} -B ${TARV_WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
                        -DTARV_README_EXAMPLE=${TARV_WORK_DIR}/readme_example.cpp
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "consumer configure failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${TARV_WORK_DIR}/build RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "consumer build failed: ${rc}")
endif()
execute_process(COMMAND ${TARV_WORK_DIR}/build/consumer RESULT_VARIABLE rc
                OUTPUT_VARIABLE out)
message(STATUS "consumer printed: ${out}")
if(NOT rc EQUAL 0 OR NOT out MATCHES "EADGBE")
    message(FATAL_ERROR "consumer run failed: ${rc}")
endif()
execute_process(COMMAND ${TARV_WORK_DIR}/build/readme_example RESULT_VARIABLE rc
                OUTPUT_VARIABLE out ERROR_VARIABLE err)
message(STATUS "the README example printed: ${out}")
if(NOT rc EQUAL 0 OR NOT out MATCHES "x,0,2,0,1,0")
    message(FATAL_ERROR "the README example failed: ${rc} ${err}")
endif()
