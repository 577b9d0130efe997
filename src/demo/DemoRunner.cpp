// SPDX-License-Identifier: MIT
#include <tallywick/demo/DemoRunner.h>

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>

#include <tallywick/model/EscapedText.h>

namespace tallywick {

namespace {

using namespace std::chrono_literals;

std::string describeStatus(int status) {
    if (WIFEXITED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(status);
}

}  // namespace

DemoRunner::DemoRunner(const DemoOptions& options, std::string bridgePath, int stopFd)
    : bridgePath_(std::move(bridgePath)),
      verbose_(options.verbose),
      stopFd_(stopFd),
      random_(std::random_device()()) {
    if (options.runtimeDirectory) bridgeArguments_ = {"--runtime-dir", *options.runtimeDirectory};
    if (options.durationSeconds) {
        duration_ = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(*options.durationSeconds));
    }
    for (auto& persona : AgentPersona::cast(options.agents))
        slots_.push_back({SimulatedAgent(std::move(persona))});
}

DemoRunner::Clock::duration DemoRunner::between(double low, double high) {
    const double seconds = std::uniform_real_distribution<double>(low, high)(random_);
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

void DemoRunner::log(const Slot& slot, const std::string& note) {
    // Notes quote the host's answers: shown as any data text in a terminal.
    if (!note.empty()) std::cout << EscapedText::of(slot.agent.persona().label + ": " + note) << "\n";
}

void DemoRunner::fail(Ending result, std::string problem) {
    if (failure_) return;
    failure_ = result;
    problem_ = std::move(problem);
}

DemoRunner::Ending DemoRunner::run() {
    const auto start = Clock::now();
    const auto deadline = duration_ ? start + *duration_ : Clock::time_point::max();
    // The first agent goes ahead alone, so that a missing host is told by one bridge, not by all.
    slots_.front().nextAt = start;
    bool stopped = false;

    struct Watched {
        Slot* slot;
        bool input;
    };
    std::vector<pollfd> descriptors;
    std::vector<Watched> watched;
    while (!failure_ && !stopped) {
        auto now = Clock::now();
        if (now >= deadline) break;
        for (auto& slot : slots_) {
            if (!failure_) tick(slot, now);
        }
        if (failure_) break;

        descriptors.assign({{stopFd_, POLLIN, 0}});
        watched.assign({{nullptr, false}});
        auto wake = deadline;
        for (auto& slot : slots_) {
            wake = std::min({wake, slot.nextAt, slot.leaveAt});
            if (!slot.bridge) continue;
            descriptors.push_back({slot.bridge->outputFd(), POLLIN, 0});
            watched.push_back({&slot, false});
            if (slot.bridge->wantsToWrite()) {
                descriptors.push_back({slot.bridge->inputFd(), POLLOUT, 0});
                watched.push_back({&slot, true});
            }
        }
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(wake - Clock::now());
        const int timeout = static_cast<int>(std::clamp<std::int64_t>(wait.count(), 0, 1000));
        if (::poll(descriptors.data(), descriptors.size(), timeout) <= 0) continue;

        now = Clock::now();
        if (descriptors[0].revents != 0) {
            signalfd_siginfo signal{};
            [[maybe_unused]] const auto ignored = ::read(stopFd_, &signal, sizeof signal);
            std::cout << "Stopping (" << ::strsignal(static_cast<int>(signal.ssi_signo)) << ")\n";
            stopped = true;
            break;
        }
        for (std::size_t i = 1; i < descriptors.size() && !failure_; ++i) {
            Slot& slot = *watched[i].slot;
            if (descriptors[i].revents == 0 || !slot.bridge) continue;
            if (watched[i].input)
                slot.bridge->flush();
            else
                readFrom(slot, now);
        }
    }
    closeAll();
    if (failure_) return *failure_;
    return stopped ? Ending::stopped : Ending::finished;
}

void DemoRunner::tick(Slot& slot, Clock::time_point now) {
    switch (slot.phase) {
        case Phase::away:
            if (now >= slot.nextAt) connect(slot, now);
            break;
        case Phase::active:
            if (now >= slot.leaveAt) {
                log(slot, "disconnecting");
                slot.bridge->closeInput();
                slot.phase = Phase::leaving;
                slot.leaveAt = Clock::time_point::max();
                slot.nextAt = now + 5s;  // a bridge that has not gone by then is ended
            } else if (now >= slot.nextAt) {
                send(slot, slot.agent.nextRequest(random_));
                slot.nextAt = now + between(0.5, 3.0);
            }
            break;
        case Phase::leaving:
            if (now >= slot.nextAt) bridgeEnded(slot, now);
            break;
    }
}

void DemoRunner::connect(Slot& slot, Clock::time_point now) {
    std::string problem;
    slot.bridge = BridgeChild::launch(bridgePath_, bridgeArguments_, verbose_, problem);
    if (!slot.bridge) {
        fail(Ending::bridgeFailed, "cannot start " + bridgePath_ + ": " + problem);
        return;
    }
    slot.phase = Phase::active;
    slot.nextAt = Clock::time_point::max();  // the first request waits for the handshake's answer
    slot.leaveAt = now + between(10.0, 30.0);
    log(slot, "connecting through a new bridge (pid " + std::to_string(slot.bridge->pid()) + ")");
    for (const auto& line : slot.agent.openingLines()) send(slot, line);
}

// A bridge that stopped reading shows as the end of its output, handled there.
void DemoRunner::send(Slot& slot, const std::string& line) {
    slot.bridge->sendLine(line);
}

void DemoRunner::readFrom(Slot& slot, Clock::time_point now) {
    std::vector<std::string> lines;
    const bool open = slot.bridge->readLines(lines);
    for (const auto& line : lines) {
        auto heard = slot.agent.hear(line);
        log(slot, heard.note);
        if (heard.hostMissing) {
            fail(Ending::hostMissing,
                 hostConfirmed_ ? "the Tallywick host went away" : "the Tallywick host is not running");
            return;
        }
        if (heard.handshakeFailed) {
            // No agent of ours could do anything with such a host; better to say so than to idle.
            fail(Ending::handshakeRefused, "the Tallywick host refused the handshake: " + heard.note);
            return;
        }
        if (heard.handshakeDone && slot.phase == Phase::active) {
            slot.nextAt = now + between(0.5, 3.0);
            if (!hostConfirmed_) {
                hostConfirmed_ = true;
                for (auto& other : slots_) {
                    if (other.phase == Phase::away) other.nextAt = now + between(0.1, 1.5);
                }
            }
        }
        for (const auto& answer : heard.answer) send(slot, answer);
    }
    if (!open) bridgeEnded(slot, now);
}

void DemoRunner::bridgeEnded(Slot& slot, Clock::time_point now) {
    const int status = slot.bridge->finish(2s);
    slot.bridge.reset();
    slot.agent.disconnected();
    const bool meant = slot.phase == Phase::leaving;
    slot.phase = Phase::away;
    slot.leaveAt = Clock::time_point::max();
    slot.nextAt = now + between(2.0, 5.0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
        fail(Ending::bridgeFailed, "could not run " + bridgePath_);
        return;
    }
    if (meant) {
        log(slot, "left (bridge " + describeStatus(status) + ")");
    } else if (!hostConfirmed_) {
        // Nothing has worked yet, so trying again would only repeat this.
        fail(Ending::bridgeFailed, bridgePath_ + " ended before answering (" + describeStatus(status) + ")");
    } else {
        log(slot, "bridge ended unexpectedly (" + describeStatus(status) + "), coming back soon");
    }
}

// End of input for every bridge; each answers what it has and exits. The
// replies still on their way are read and logged, within a few seconds.
void DemoRunner::closeAll() {
    std::vector<Slot*> open;
    for (auto& slot : slots_) {
        if (!slot.bridge) continue;
        slot.bridge->closeInput();
        open.push_back(&slot);
    }
    const auto deadline = Clock::now() + 3s;
    while (!open.empty() && Clock::now() < deadline) {
        std::vector<pollfd> descriptors;
        descriptors.reserve(open.size());
        for (auto* slot : open) descriptors.push_back({slot->bridge->outputFd(), POLLIN, 0});
        if (::poll(descriptors.data(), descriptors.size(), 100) <= 0) continue;
        for (std::size_t i = 0; i < open.size(); ++i) {
            if (descriptors[i].revents == 0) continue;
            std::vector<std::string> lines;
            const bool stillOpen = open[i]->bridge->readLines(lines);
            for (const auto& line : lines) log(*open[i], open[i]->agent.hear(line).note);
            if (!stillOpen) open[i] = nullptr;
        }
        std::erase(open, nullptr);
    }
    for (auto& slot : slots_) {
        if (!slot.bridge) continue;
        slot.bridge->finish(1s);
        slot.bridge.reset();
        slot.agent.disconnected();
    }
}

}  // namespace tallywick
