#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <unistd.h>

/// Programs that know nothing of our locks, on Linux. Private to system_disk.cpp.
namespace platform {

/// Has the kernel keep everybody else from opening the file until the lease is given back: who tries waits (45 s at
/// most, by the kernel's own rule). False where the file is open a second time, by another program or by this one, and
/// where this account or this file system has no leases.
inline bool takeLease(int file)
{
    // Whoever opens the file makes the kernel signal us. The usual signal ends a program, this one is ignored.
    return ::fcntl(file, F_SETSIG, SIGURG) == 0 && ::fcntl(file, F_SETLEASE, F_WRLCK) == 0;
}
inline void giveLeaseBack(int file) { ::fcntl(file, F_SETLEASE, F_UNLCK); }

/// True when another program has that open file open for writing too. Programs of other accounts are seen only by the
/// administrator.
inline bool openForWritingElsewhere(int file)
{
    namespace fs = std::filesystem;
    std::error_code failed;
    const std::string own = "/proc/self/fd/" + std::to_string(file);
    const fs::path name = fs::read_symlink(own, failed);
    if (failed) return false;
    const std::string ownNumber = std::to_string(::getpid());
    for (fs::directory_iterator process("/proc", failed), end; !failed && process != end; process.increment(failed)) {
        const std::string number = process->path().filename().string();
        if (number.find_first_not_of("0123456789") != std::string::npos || number == ownNumber) continue;
        std::error_code gone; // a program that has just ended, or one of another account
        for (fs::directory_iterator each(process->path() / "fd", gone); !gone && each != fs::directory_iterator();
             each.increment(gone)) {
            std::error_code closed;
            if (fs::read_symlink(each->path(), closed) != name || closed) continue;
            std::ifstream info(process->path() / "fdinfo" / each->path().filename());
            for (std::string word; info >> word;) {
                if (word != "flags:") continue;
                info >> word;
                if ((std::strtol(word.c_str(), nullptr, 8) & O_ACCMODE) != O_RDONLY) return true;
            }
        }
    }
    return false;
}

} // namespace platform
