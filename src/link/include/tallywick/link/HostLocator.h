// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tallywick::HostLocator {

// One host per ledger, found from anywhere. A client looks in its own
// runtime folder first; a host that serves the ledger from another folder
// (one started by a client outside the login session, with no
// XDG_RUNTIME_DIR, say) is found through the ledger's lock, whose note names
// the folder its host listens in. Each runtime folder records the ledger its
// host serves, so that a host started there on demand opens that one.

// The ledger a client means when it names none: $TALLYWICK_DATA_DIR/ledger.sqlite3,
// else $XDG_DATA_HOME/tallywick/ledger.sqlite3, else ~/.local/share/tallywick/...
std::string defaultDatabasePath();

// The folder to connect to: `runtimeDirectory` when a host accepts there or
// the ledger's lock names no other live host; else the folder its lock
// names, when that folder passes the same checks and a host accepts there.
std::string folderFor(const std::string& runtimeDirectory,
                      const std::string& databasePath = defaultDatabasePath());

// The ledger recorded in a runtime folder by the last host that served it
// there; empty when none is recorded.
std::string recordedLedger(const std::string& runtimeDirectory);

// Records the ledger a host serves in its runtime folder (written whole, or
// not at all); false when it could not be written.
bool recordLedger(const std::string& runtimeDirectory, const std::string& databasePath);

}  // namespace tallywick::HostLocator
