#pragma once

#include <cerrno>
#include <cstddef>
#include <functional>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>

/// Does the work on a thread of its own that the system refuses a second name for a file, as it does on a stick (FAT)
/// or on many a share.
inline void withoutHardLinks(const std::function<void()>& work)
{
    bool refused = false;
    std::thread([&] {
        sock_filter steps[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_linkat, 1, 0),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_link, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog filter{static_cast<unsigned short>(std::size(steps)), steps};
        refused =
            ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
        if (refused) work();
    }).join();
    if (!refused) throw std::runtime_error("the system lets nobody refuse hard links");
}
