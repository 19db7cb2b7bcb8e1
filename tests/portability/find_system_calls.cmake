# Only platform/ knows the operating system: no other room asks which one it is compiled for or includes its headers.
# (Of tools/ three stand apart, for POSIX systems only: two play a scale over a pseudo-terminal, and what shows the season
# to telephones needs, with its room live/, sockets and signals.)
# usage: cmake -D SOURCE=FOLDER -P find_system_calls.cmake
set(found)
set(looked_at 0)
foreach(room app base files pressing print reports scale store tools weights)
    file(GLOB_RECURSE sources ${SOURCE}/${room}/*.cpp ${SOURCE}/${room}/*.h)
    list(FILTER sources EXCLUDE REGEX "/tools/(presva_live|scale_terminal|scale_line)\\.cpp$")
    foreach(source ${sources})
        math(EXPR looked_at "${looked_at} + 1")
        file(STRINGS ${source} lines REGEX
            "^ *# *(include <(unistd|fcntl|io|termios|poll|pty|signal|csignal|pwd|dlfcn|windows|winspool|sys/[a-z]+|X11/.*|cups/.*)\\.?h?>|(if|ifdef|ifndef|elif).*(_WIN32|Q_OS_|__linux__|__unix__|__APPLE__))")
        foreach(line ${lines})
            string(APPEND found "${source}: ${line}\n")
        endforeach()
    endforeach()
endforeach()
if(looked_at EQUAL 0)
    message(FATAL_ERROR "No sources in ${SOURCE}.")
endif()
if(found)
    message(FATAL_ERROR "These belong behind a door in platform/:\n${found}")
endif()
