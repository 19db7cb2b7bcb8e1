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
