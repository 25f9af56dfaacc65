#pragma once

#include <sys/types.h>

#include <string>

struct inet_diag_msg;
struct inet_diag_sockid;

namespace krxservice {

/// Who holds the other end of a connection.
struct Speaker
{
    bool known = false;
    uid_t user = 0;  ///< meaningful only when known
    std::string why; ///< why it was not found out, for the log
};

/// Asks the kernel who is at the other end of a connection, before anything is read from it.
///
/// On TCP the owner of the other end's socket is asked for by its four-tuple (sock_diag); on a Unix socket
/// the credentials of whoever connected are. Not found out, and so never served, are: a socket that was
/// closed already (the kernel calls its owner 0, the number of root), one that is not connected yet, one that
/// the kernel does not answer for, and a user of a namespace who has no number here.
///
/// Not thread-safe.
class SpeakerFinder
{
public:
    SpeakerFinder();
    ~SpeakerFinder();
    SpeakerFinder(const SpeakerFinder&) = delete;
    SpeakerFinder& operator=(const SpeakerFinder&) = delete;

    /// \a socket is a connected TCP socket of the IPv4 or IPv6 loopback, or a Unix stream socket.
    Speaker of(int socket);

    /// Whose program takes connections at a port.
    struct Listener
    {
        bool isThere = false; ///< false: nobody listens there
        Speaker owner;
    };
    /// \a port is one of 127.0.0.1.
    Listener listenerAt(int port);

    /// Tries it on a connection of this process to itself. An empty text or what is missing.
    std::string selfTest();

private:
    Speaker ofTcp(int socket);
    Speaker ofUnix(int socket) const;
    Speaker named(uid_t user) const;
    bool open();
    std::string ask(unsigned char family, unsigned states, const inet_diag_sockid& id, inet_diag_msg& answer,
                    int& code);

    int m_netlink = -1; ///< kept open: opening one costs more than all the rest
    unsigned m_sequence = 0;
    uid_t m_overflowUser; ///< stands for every user who has no number in this namespace
};

} // namespace krxservice
