#pragma once

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

/// An ordinary user's rights as long as it lives: root may open what it likes.
class OrdinaryUser {
public:
    OrdinaryUser()
    {
        constexpr uid_t nobody = 65534;
        if (root_ && ::setresuid(nobody, nobody, 0) != 0) throw std::runtime_error("setresuid");
    }
    ~OrdinaryUser()
    {
        if (root_ && ::setresuid(0, 0, 0) != 0) std::abort();
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    const bool root_ = ::geteuid() == 0;
};
