# Coverage is written when a process ends, also when it ends by _Exit or by a signal. The object that
# does so is named in the linker's flags, so that every target has it.
set(dump_coverage ${PROJECT_BINARY_DIR}/dump_coverage.o)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -fPIC
    -c ${PROJECT_SOURCE_DIR}/tests/support/DumpCoverage.cpp -o ${dump_coverage}
    COMMAND_ERROR_IS_FATAL ANY)
foreach(kind EXE SHARED)
    string(APPEND CMAKE_${kind}_LINKER_FLAGS " \"${dump_coverage}\" -Wl,--wrap=_Exit")
endforeach()
