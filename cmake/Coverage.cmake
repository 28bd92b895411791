# Every program and library counts what it covers to its end, whichever that is. The flags of the
# linker have the object, because every target is to have it, wherever it is defined.
set(dump_coverage ${PROJECT_BINARY_DIR}/dump_coverage.o)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -fPIC
    -c ${PROJECT_SOURCE_DIR}/tests/support/DumpCoverage.cpp -o ${dump_coverage}
    COMMAND_ERROR_IS_FATAL ANY)
foreach(kind EXE SHARED)
    string(APPEND CMAKE_${kind}_LINKER_FLAGS " \"${dump_coverage}\" -Wl,--wrap=_Exit")
endforeach()
