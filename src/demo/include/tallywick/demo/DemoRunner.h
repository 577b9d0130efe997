// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <tallywick/demo/BridgeChild.h>
#include <tallywick/demo/DemoOptions.h>
#include <tallywick/demo/SimulatedAgent.h>

namespace tallywick {

// Runs the simulated agents, each through a bridge of its own, in one poll()
// loop: connects them, sends their requests at random moments, reads every
// line each bridge writes, lets them leave and come back, until the time is
// up or `stopFd` (a signal descriptor) becomes readable.
class DemoRunner {
public:
    enum class Ending { finished, stopped, hostMissing, handshakeRefused, bridgeFailed };

    DemoRunner(const DemoOptions& options, std::string bridgePath, int stopFd);
    Ending run();
    // Why run() failed, for the one line on stderr.
    const std::string& problem() const { return problem_; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { away, active, leaving };
    struct Slot {
        SimulatedAgent agent;
        std::unique_ptr<BridgeChild> bridge{};
        Phase phase = Phase::away;
        Clock::time_point nextAt = Clock::time_point::max();  // away: return; active: next request
        Clock::time_point leaveAt = Clock::time_point::max();
    };

    Clock::duration between(double low, double high);
    void log(const Slot& slot, const std::string& note);
    void tick(Slot& slot, Clock::time_point now);
    void connect(Slot& slot, Clock::time_point now);
    void send(Slot& slot, const std::string& line);
    void readFrom(Slot& slot, Clock::time_point now);
    void bridgeEnded(Slot& slot, Clock::time_point now);
    void fail(Ending result, std::string problem);
    void closeAll();

    std::string bridgePath_;
    std::vector<std::string> bridgeArguments_;
    bool verbose_;
    int stopFd_;
    std::optional<Clock::duration> duration_;
    std::vector<Slot> slots_;
    std::mt19937 random_;
    bool hostConfirmed_ = false;
    std::optional<Ending> failure_;
    std::string problem_;
};

}  // namespace tallywick
