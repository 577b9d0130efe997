// SPDX-License-Identifier: MIT
#include <tallywick/link/JournalStream.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tallywick {

bool standardErrorIsJournal() {
    const char* stream = std::getenv("JOURNAL_STREAM");
    if (!stream) return false;
    unsigned long long device = 0, inode = 0;
    if (std::sscanf(stream, "%llu:%llu", &device, &inode) != 2) return false;
    struct stat info {};
    return ::fstat(STDERR_FILENO, &info) == 0 && info.st_dev == device && info.st_ino == inode;
}

}  // namespace tallywick
