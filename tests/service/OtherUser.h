#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

/// Acting as somebody else, which only root can.
namespace OtherUser {

constexpr uid_t kNumber = 54321; ///< a user that no machine has

inline bool isPossible()
{
    return ::geteuid() == 0;
}

/// Runs \a function, which gives a small number, in a process of that user's. \return the number, or -1.
template <typename Function>
int does(Function function, uid_t user = kNumber)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0)
            ::_exit(127);
        ::_exit(function());
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace OtherUser
