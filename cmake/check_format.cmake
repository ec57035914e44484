# Fails when any C++ source of the project is not formatted as .clang-format says.
file(GLOB_RECURSE sources
     ${SOURCE_DIR}/src/*.cpp ${SOURCE_DIR}/src/*.h
     ${SOURCE_DIR}/service/*.cpp ${SOURCE_DIR}/service/*.h
     ${SOURCE_DIR}/tests/*.cpp ${SOURCE_DIR}/tests/*.h
     ${SOURCE_DIR}/bench/*.cpp ${SOURCE_DIR}/bench/*.h
     ${SOURCE_DIR}/fuzz/*.cpp ${SOURCE_DIR}/fuzz/*.h)
execute_process(COMMAND ${CLANG_FORMAT} --dry-run --Werror ${sources}
                RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "clang-format would change these files (run `make format`):\n${errors}")
endif()
