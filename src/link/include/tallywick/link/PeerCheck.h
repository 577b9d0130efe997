// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tallywick/link/IdentityNote.h>

namespace tallywick {

// Who is at the other end of a connected Unix socket.
struct PeerProcess {
    int pid = 0;
    unsigned uid = 0;
    std::optional<IdentityNote> note;  // none when the program has none or could not be read
};

// Reads the peer's credentials and identity note: the process from
// SO_PEERPIDFD where the kernel offers it, else SO_PEERCRED; the note from
// /proc/<pid>/exe; then a recheck that the same process is still alive, so a
// recycled pid cannot lend its note. None when any step fails.
std::optional<PeerProcess> inspectPeer(int socketFd);

// The checks of a new connection, in order: the peer runs as our own
// effective uid (always, before anything else), then its note satisfies the
// requirement text (skipped when the text is empty). Empty result: accepted;
// otherwise why it was refused.
std::string refusePeer(int socketFd, std::string_view requirementText);

// The process at the other end, for a log: "pid 4242 (/usr/bin/program)",
// as much of that as can still be found.
std::string describePeer(int socketFd);

}  // namespace tallywick
