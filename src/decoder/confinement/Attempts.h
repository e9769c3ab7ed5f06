// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"
#include "platform/ScopedFileDescriptor.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <netinet/in.h>

#include <memory>
#include <span>
#include <string>

namespace decoder {

/// What the attempts aim at: a folder with a file in it, a process, and sockets that somebody listens to.
/// Removed by the destructor.
class Stage {
 public:
    /// In TMPDIR, or in /tmp where that is no usable name. Null where it cannot be, which standard error
    /// says.
    static std::unique_ptr<const Stage> make();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    struct UnixAddress {
        sockaddr_un address{};
        socklen_t size = 0;
    };

    std::string folder;
    std::string file;        ///< holds a few bytes
    std::string socketFile;  ///< that of `named`
    pid_t process;           ///< this one
    sockaddr_in tcp{};
    UnixAddress named;     ///< in the folder
    UnixAddress abstract;  ///< without a file

 private:
    Stage();
    bool makeFolder(const std::string& place);
    bool listen();

    platform::ScopedFileDescriptor _tcpListener;
    platform::ScopedFileDescriptor _namedListener;
    platform::ScopedFileDescriptor _abstractListener;
};

/// One thing to try: a value.
struct Attempt {
    const char* name;
    /// The protections each of which alone must foil it; 0: the limits.
    Protections foiledBy;
    int fileRightsVersion;  ///< since which version of Landlock, where that does
    bool isWork;            ///< what a decoder needs: must always succeed
    /// Tries it; whether it worked. Called in a process that ends then.
    bool (*tryIt)(const Stage&);
};

std::span<const Attempt> allAttempts();

}  // namespace decoder
