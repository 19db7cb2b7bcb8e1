# Builds everything that needs no Qt for Windows, warnings as errors, and looks at what came out.
# usage: cmake -D SOURCE=FOLDER -D BUILD=FOLDER -P build_for_windows.cmake

find_program(compiler x86_64-w64-mingw32-g++-posix)
find_program(objdump x86_64-w64-mingw32-objdump)
if(NOT compiler OR NOT objdump)
    message(FATAL_ERROR "There is no compiler for Windows here: scripts/ensure-packages test installs g++-mingw-w64-x86-64-posix.")
endif()

function(must_succeed)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${output}")
    endif()
endfunction()

# Not optimised: that takes a third of the time, and what optimising finds in shared sources the other build finds.
must_succeed(${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD} -G Ninja --toolchain ${SOURCE}/cmake/windows.cmake
             -D PRESVA_COUNTER=OFF -D CMAKE_BUILD_TYPE=)
must_succeed(${CMAKE_COMMAND} --build ${BUILD} --parallel 2)

# Every source of the platform's Windows side was compiled, and none of the other side.
file(GLOB windows_sources ${SOURCE}/platform/*_windows.cpp)
foreach(source ${windows_sources})
    cmake_path(GET source FILENAME name)
    set(folder ${BUILD}/platform/CMakeFiles/platform.dir)
    string(REPLACE "_windows.cpp" ".cpp" other ${name})
    if(NOT EXISTS ${folder}/${name}.obj OR EXISTS ${folder}/${other}.obj)
        message(FATAL_ERROR "platform/${name} does not take the place of platform/${other}.")
    endif()
endforeach()

# The programs run on a bare machine: they need no library but the system's own.
foreach(program presva-mdb every_door)
    execute_process(COMMAND ${objdump} -p ${BUILD}/bin/${program}.exe OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
    if(NOT headers MATCHES "pei-x86-64")
        message(FATAL_ERROR "${program}.exe is no 64-bit program.")
    endif()
    string(REGEX MATCHALL "DLL Name: [^\n]+" libraries "${headers}")
    string(REPLACE "DLL Name: " "" libraries "${libraries}")
    foreach(library ${libraries})
        if(NOT library MATCHES "^(KERNEL32|msvcrt|ADVAPI32|USER32|GDI32|SHELL32|WINSPOOL)\\.(dll|DRV)$")
            message(FATAL_ERROR "${program}.exe needs ${library}, which a bare machine may not have.")
        endif()
    endforeach()
    message("${program}.exe needs ${libraries}")
endforeach()
