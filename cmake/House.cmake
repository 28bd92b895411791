# The vocabulary of the house: rooms, warnings, tests.

# Every target compiles with these. GCC 12 warns of overlaps in string concatenation where there are
# none (GCC bug 105651). It takes the sources of a unity build for headers, and then warns of
# anonymous namespaces in them.
add_library(house_warnings INTERFACE)
target_compile_options(house_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${TORVELSI_UNITY}>>:-Wno-subobject-linkage>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
add_library(house_options INTERFACE)
target_link_libraries(house_options INTERFACE house_warnings)
if(TORVELSI_SANITIZE)
    target_compile_options(house_options INTERFACE -fsanitize=${TORVELSI_SANITIZE}
        -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(house_options INTERFACE -fsanitize=${TORVELSI_SANITIZE})
endif()

# torvelsi_room(NAME SOURCES file... ROOMS room...)
# A room is one static library, room_NAME. Its headers are included by their path from the top of
# the repository; ROOMS are the rooms that it may include (scripts/check_rooms.py checks that).
function(torvelsi_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;ROOMS" ${ARGN})
    if(ROOM_SOURCES)
        add_library(room_${name} STATIC ${ROOM_SOURCES})
        target_include_directories(room_${name} PUBLIC ${PROJECT_SOURCE_DIR})
        target_link_libraries(room_${name} PRIVATE house_options PUBLIC Threads::Threads)
        foreach(room IN LISTS ROOM_ROOMS)
            target_link_libraries(room_${name} PUBLIC room_${room})
        endforeach()
    else()
        add_library(room_${name} INTERFACE)
        target_include_directories(room_${name} INTERFACE ${PROJECT_SOURCE_DIR})
        foreach(room IN LISTS ROOM_ROOMS)
            target_link_libraries(room_${name} INTERFACE room_${room})
        endforeach()
    endif()
endfunction()

# A program that writes its own stacks exports its functions, so that the stacks have their names.
# Functions of the rooms that it links are written as offsets, which addr2line turns into names.
function(torvelsi_named_stacks name)
    set_target_properties(${name} PROPERTIES
        ENABLE_EXPORTS ON DEFINE_SYMBOL ""
        CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF)
endfunction()

# How the code of tests is compiled. Without optimisation it compiles twice as fast; what it tests is
# compiled as the preset says.
function(torvelsi_compile_as_test name)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE house_options GTest::gmock)
    target_compile_options(${name} PRIVATE -O0)
    if(TORVELSI_UNITY)
        target_precompile_headers(${name} REUSE_FROM test_headers)
    endif()
    torvelsi_named_stacks(${name})
endfunction()

# torvelsi_test_part(NAME SOURCES file... LINK target...)
# Files that several tests have in common, compiled once. A test that has NAME in LINK gets all of
# them, with the tests that they hold.
function(torvelsi_test_part name)
    cmake_parse_arguments(PART "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} OBJECT ${PART_SOURCES})
    target_link_libraries(${name} PRIVATE ${PART_LINK})
    torvelsi_compile_as_test(${name})
    # As the code of a program, which the precompiled headers are.
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${name} PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
endfunction()

# torvelsi_test(NAME SOURCES file... LINK target... [LABELS label...])
# One GoogleTest program; every TEST of it becomes a ctest of its own and runs in its own process.
# The label "threads" has it run under ThreadSanitizer too.
function(torvelsi_test name)
    cmake_parse_arguments(TEST "" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 120)
    endif()
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LINK} test_main)
    torvelsi_compile_as_test(${name})
    # The watchdog inside the test shows where it hangs, before ctest ends it.
    math(EXPR limit "${TEST_TIMEOUT} - 20")
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}"
                   ENVIRONMENT TORVELSI_TEST_LIMIT=${limit})
    if("threads" IN_LIST TEST_LABELS)
        add_dependencies(thread_tests ${name})
    endif()
endfunction()
