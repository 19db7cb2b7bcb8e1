# Shared by every folder: warnings, sanitizers, and the two ways to declare a target.

add_library(strict_warnings INTERFACE)
target_compile_options(strict_warnings INTERFACE -Wall -Wextra -Werror)

if(PRESVA_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-fsanitize=address,undefined)
endif()

# presva_room(NAME SOURCES...): the static library of one folder; without sources, its headers alone.
function(presva_room name)
    if(NOT ARGN)
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
        return()
    endif()
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE strict_warnings)
endfunction()

# presva_test(NAME LIBRARIES...): tests/<room>/<NAME>.cpp as one Qt Test program, labelled with its room.
# `tests_<room>` builds all tests of a room.
function(presva_test name)
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    if(NOT TARGET tests_${room})
        add_custom_target(tests_${room})
    endif()
    add_executable(${name} ${name}.cpp)
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE strict_warnings Qt6::Test ${ARGN})
    # Optimising the tests themselves takes longer than running them; what they test is optimised as always.
    target_compile_options(${name} PRIVATE -O0 -g1)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS ${room} TIMEOUT 600)
    add_dependencies(tests_${room} ${name})
endfunction()

# presva_engine_tests(LIBRARIES... [ONLY NAMES...] [PROGRAM NAME]): the .cpp files of the folder, or those named, as one
# GoogleTest program that knows no Qt: tests_<room>, or the one named. Each file is a test of its own name and process,
# labelled with its room.
function(presva_engine_tests)
    cmake_parse_arguments(PARSE_ARGV 0 tests "" "PROGRAM" "ONLY")
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    set(names ${tests_ONLY})
    if(NOT names)
        file(GLOB names CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.cpp)
        list(TRANSFORM names REPLACE "\\.cpp$" "")
    endif()
    list(TRANSFORM names APPEND .cpp OUTPUT_VARIABLE sources)
    set(program tests_${room})
    if(tests_PROGRAM)
        set(program ${tests_PROGRAM})
    endif()
    add_executable(${program} ${sources})
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${program} PRIVATE strict_warnings engine_test_main ${tests_UNPARSED_ARGUMENTS})
    # Optimising the tests themselves takes longer than running them; what they test is optimised as always.
    target_compile_options(${program} PRIVATE -O0 -g1)
    foreach(name ${names})
        add_test(NAME ${name} COMMAND ${program} ${name})
        set_tests_properties(${name} PROPERTIES LABELS ${room} TIMEOUT 600)
    endforeach()
    if(tests_PROGRAM)
        if(NOT TARGET tests_${room})
            add_custom_target(tests_${room})
        endif()
        add_dependencies(tests_${room} ${program})
    endif()
endfunction()
