# Installs the built library into a scratch prefix, then configures, builds and runs a small
# consumer project that finds it with find_package(TARVGuitar).
file(REMOVE_RECURSE ${TARV_WORK_DIR})
set(prefix ${TARV_WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${TARV_BINARY_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "install failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${TARV_CONSUMER_SOURCE_DIR} -B ${TARV_WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
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
