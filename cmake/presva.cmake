# Shared by every folder: warnings, sanitizers, compiler cache, and the ways to declare a target.

add_library(strict_warnings INTERFACE)
target_compile_options(strict_warnings INTERFACE -Wall -Wextra -Werror)

if(PRESVA_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-fsanitize=address,undefined)
endif()

# A compiler cache where there is one. It must be told that precompiled headers do not hide a change from it.
if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(PRESVA_CCACHE ccache)
    if(PRESVA_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${PRESVA_CCACHE})
    endif()
endif()

# presva_headers(NAME VISIBILITY HEADERS...): the room's own include path. It holds links to these headers and nothing
# else, under their path in the project ("store/pager.h"), so that the header of a room that is not linked cannot even
# be found.
function(presva_headers name visibility)
    if(NOT PRESVA_ROOM_PATHS)
        target_include_directories(${name} ${visibility} ${PROJECT_SOURCE_DIR})
        return()
    endif()
    set(path ${CMAKE_BINARY_DIR}/rooms/${name})
    file(REMOVE_RECURSE ${path})
    foreach(header ${ARGN})
        cmake_path(ABSOLUTE_PATH header NORMALIZE)
        cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE place)
        cmake_path(GET place PARENT_PATH folder)
        file(MAKE_DIRECTORY ${path}/${folder})
        file(CREATE_LINK ${header} ${path}/${place} SYMBOLIC)
    endforeach()
    target_include_directories(${name} ${visibility} ${path})
endfunction()

# presva_room(NAME SOURCES...): the static library of one folder, or of a part of it; without sources, its headers
# alone. Its headers are those with the name of a source, and those of the folder that belong to no source at all.
function(presva_room name)
    set(visibility INTERFACE)
    if(ARGN)
        set(visibility PUBLIC)
        add_library(${name} STATIC ${ARGN})
        target_link_libraries(${name} PRIVATE strict_warnings)
        set_property(GLOBAL APPEND PROPERTY PRESVA_TARGETS ${name})
    else()
        add_library(${name} INTERFACE)
    endif()
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h)
    set(own)
    foreach(header ${headers})
        string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
        string(REGEX REPLACE "\\.h$" "_windows.cpp" windows_source ${header})
        if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${source} OR source IN_LIST ARGN OR windows_source IN_LIST ARGN
           OR ${CMAKE_CURRENT_SOURCE_DIR}/${source} IN_LIST ARGN
           OR ${CMAKE_CURRENT_SOURCE_DIR}/${windows_source} IN_LIST ARGN)
            list(APPEND own ${header})
        endif()
    endforeach()
    presva_headers(${name} ${visibility} ${own})
endfunction()

# presva_program(NAME SOURCES...): a program of its own main().
function(presva_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE strict_warnings)
    set_property(GLOBAL APPEND PROPERTY PRESVA_TARGETS ${name})
endfunction()

# presva_add_test(NAME PROGRAM ARGUMENTS...): a program for Windows has somebody on this system who answers what it
# cannot do itself.
function(presva_add_test name program)
    if(WIN32)
        find_package(Python3 REQUIRED COMPONENTS Interpreter)
        add_test(NAME ${name} COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tests/windows/host.py
                                      ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}> ${ARGN})
    else()
        add_test(NAME ${name} COMMAND ${program} ${ARGN})
    endif()
endfunction()

# presva_test(NAME LIBRARIES...): tests/<room>/<NAME>.cpp as one Qt Test program, labelled with its room.
# `tests_<room>` builds all tests of a room.
function(presva_test name)
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    if(NOT TARGET tests_${room})
        add_custom_target(tests_${room})
    endif()
    presva_program(${name} ${name}.cpp)
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE qt_test test_helpers ${ARGN})
    # Optimising the tests themselves takes longer than running them; what they test is optimised as always.
    target_compile_options(${name} PRIVATE -O0 -g1)
    if(WIN32)
        target_link_libraries(${name} PRIVATE scenario_host)
    endif()
    set(says)
    if(WIN32)
        set(says -o LOG,txt)
    endif()
    presva_add_test(${name} ${name} ${says})
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
    presva_program(${program} ${sources})
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${program} PRIVATE engine_test_main ${tests_UNPARSED_ARGUMENTS})
    # Optimising the tests themselves takes longer than running them; what they test is optimised as always.
    target_compile_options(${program} PRIVATE -O0 -g1)
    foreach(name ${names})
        presva_add_test(${name} ${program} ${name})
        set_tests_properties(${name} PROPERTIES LABELS ${room} TIMEOUT 600)
    endforeach()
    if(tests_PROGRAM)
        if(NOT TARGET tests_${room})
            add_custom_target(tests_${room})
        endif()
        add_dependencies(tests_${room} ${program})
    endif()
endfunction()
