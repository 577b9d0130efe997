// SPDX-License-Identifier: MIT
// A stand-in host for the control client's tests: a separate process with the
// host's identity, listening on the given socket and answering `control` calls
// by a script file, one rule a line, first match wins:
//   <substring> => reply <text>          answer with <text>
//   <substring> => hold                  keep the call unanswered
//   <substring> => release <text>        answer this call, then every held one,
//                                        newest first, each with <text>
//   <substring> => push <event>          send <event> as a controlEvent, then {"ok":{}}
//   <substring> => fail <reason>         answer with a failure frame
//   <substring> => connections           answer with a failure response whose
//                                        reason is how many connections came
// Requests matching no rule get {"ok":{}}. Usage: scripted_host SOCKET SCRIPT
#include <fstream>
#include <iostream>
#include <mutex>
#include <vector>

#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkListener.h>
#include <tallywick/link/StopSignals.h>

using namespace tallywick;

namespace {

struct Rule {
    std::string match, action, text;
};

std::vector<Rule> readScript(const char* path) {
    std::vector<Rule> rules;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        const auto arrow = line.find(" => ");
        if (arrow == std::string::npos) continue;
        Rule rule{line.substr(0, arrow), line.substr(arrow + 4), {}};
        if (const auto space = rule.action.find(' '); space != std::string::npos) {
            rule.text = rule.action.substr(space + 1);
            rule.action.resize(space);
        }
        rules.push_back(std::move(rule));
    }
    return rules;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: scripted_host SOCKET SCRIPT\n";
        return 2;
    }
    const StopSignals stop;  // before any thread starts
    const auto rules = readScript(argv[2]);
    std::mutex mutex;
    std::vector<std::pair<std::shared_ptr<LinkConnection>, std::uint64_t>> held;
    std::vector<std::shared_ptr<LinkConnection>> connections;

    IoThread io;
    auto listening = LinkListener::listen(io.context(), argv[1], "", [&](std::shared_ptr<LinkConnection> c) {
        std::weak_ptr<LinkConnection> weak = c;
        c->start({.onCall = [&, weak](std::uint64_t id, const std::string& method, std::string request) {
            auto self = weak.lock();
            if (!self || method != "control") return false;
            std::lock_guard lock(mutex);
            for (const auto& rule : rules) {
                if (request.find(rule.match) == std::string::npos) continue;
                if (rule.action == "reply") {
                    self->reply(id, rule.text);
                } else if (rule.action == "hold") {
                    held.emplace_back(self, id);
                } else if (rule.action == "release") {
                    self->reply(id, rule.text);
                    for (auto it = held.rbegin(); it != held.rend(); ++it)
                        it->first->reply(it->second, rule.text);
                    held.clear();
                } else if (rule.action == "fail") {
                    self->fail(id, rule.text);
                } else if (rule.action == "connections") {
                    self->reply(id, R"({"failure":{"_0":")" + std::to_string(connections.size()) + "\"}}");
                } else if (rule.action == "push") {
                    self->send("controlEvent", rule.text);
                    self->reply(id, R"({"ok":{}})");
                }
                return true;
            }
            self->reply(id, R"({"ok":{}})");
            return true;
        }});
        std::lock_guard lock(mutex);
        connections.push_back(c);
    });
    if (!listening) {
        std::cerr << listening.error() << "\n";
        return 1;
    }
    // Runs until killed; the tests kill it to play a host that goes away.
    stop.wait();
    return 0;
}
