// SPDX-License-Identifier: MIT
#pragma once

namespace tallywick {

// Whether standard error is the journal's stream now. systemd sets
// $JOURNAL_STREAM to "device:inode" of the stream it connected; only that
// very stream counts (a child that inherited the variable but not the
// stream does not). Lines written there may start with "<N>", N their
// syslog priority.
bool standardErrorIsJournal();

}  // namespace tallywick
