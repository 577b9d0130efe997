// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallywick {

// One tallywick-bridge run as a child process with its stdin and stdout on
// pipes. Nothing here blocks: lines to send are queued
// until the pipe takes them, and output is read as far as it has arrived, so
// one poll() loop can drive many bridges at once.
class BridgeChild {
public:
    // Starts the bridge, its stderr ours or discarded; none (with the reason in
    // `problem`) when the system refuses.
    static std::unique_ptr<BridgeChild> launch(const std::string& executable,
                                               const std::vector<std::string>& arguments, bool keepStderr,
                                               std::string& problem);
    ~BridgeChild();  // a bridge still running is ended and reaped
    BridgeChild(const BridgeChild&) = delete;
    BridgeChild& operator=(const BridgeChild&) = delete;

    pid_t pid() const { return pid_; }
    int outputFd() const { return output_; }
    int inputFd() const { return input_; }
    bool wantsToWrite() const { return input_ >= 0 && !outgoing_.empty(); }

    // Queues a line and writes what the pipe takes; false once the bridge no longer reads.
    bool sendLine(std::string_view line);
    bool flush();
    // End of input: the bridge answers what it has and exits. Queued lines go first.
    void closeInput();

    // Reads what has arrived and appends the complete lines; false at the end of the output.
    bool readLines(std::vector<std::string>& lines);

    // Waits up to `limit` for the exit (then kills it); gives the wait status.
    int finish(std::chrono::milliseconds limit);

private:
    BridgeChild() = default;
    void closeInputNow();

    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    bool closeWhenFlushed_ = false;
    std::string outgoing_;
    std::string incoming_;
    std::optional<int> status_;
};

}  // namespace tallywick
