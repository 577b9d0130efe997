// SPDX-License-Identifier: MIT
#include <tallywick/demo/SimulatedAgent.h>

#include <tallywick/model/JsonWriter.h>

#include <tallywick/demo/AgentReply.h>

namespace tallywick {

namespace {

constexpr std::string_view protocolRevision = "2025-11-25";

std::string quoted(std::string_view text) {
    std::string out;
    appendJsonString(out, text);
    return out;
}

std::string historyUri(const std::string& accountId) {
    return "tallywick://account/" + accountId + "/history";
}

// A fresh secret of 24 letters and digits from the system's random source.
std::string freshKey() {
    static constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device source;
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::string key;
    for (int i = 0; i < 24; ++i) key.push_back(alphabet[pick(source)]);
    return key;
}

}  // namespace

std::string SimulatedAgent::request(Call call, std::string_view method, const std::string& params) {
    const std::int64_t id = nextId_++;
    pending_[id] = call;
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":)" + quoted(method) +
           R"(,"params":)" + params + "}";
}

std::string SimulatedAgent::toolRequest(Call call, std::string_view tool, const std::string& arguments) {
    return request(call, "tools/call", R"({"name":)" + quoted(tool) + R"(,"arguments":)" + arguments + "}");
}

std::string SimulatedAgent::signUpRequest() {
    key_ = freshKey();
    joining_ = true;
    subscribed_ = false;  // a subscription was for the account left behind
    nextBefore_.clear();
    return toolRequest(Call::signUp, "signUp",
                       R"({"key":)" + quoted(key_) + R"(,"displayName":)" + quoted(persona_.label) + "}");
}

std::vector<std::string> SimulatedAgent::openingLines() {
    std::vector<std::string> lines;
    lines.push_back(request(Call::initialize, "initialize",
                            R"({"protocolVersion":)" + quoted(protocolRevision) +
                                R"(,"capabilities":{},"clientInfo":{"name":)" + quoted(persona_.clientName) +
                                R"(,"title":)" + quoted(persona_.clientTitle) + R"(,"version":)" +
                                quoted(persona_.clientVersion) + "}}"));
    lines.push_back(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    if (persona_.signsUp) {
        joining_ = true;
        if (accountId_ && !key_.empty()) {
            lines.push_back(
                toolRequest(Call::login, "login",
                            R"({"accountId":)" + quoted(*accountId_) + R"(,"key":)" + quoted(key_) + "}"));
        } else {
            lines.push_back(signUpRequest());
        }
    }
    return lines;
}

std::string SimulatedAgent::nextRequest(std::mt19937& random) {
    const int roll = std::uniform_int_distribution<int>(0, 99)(random);
    if (roll < 10) return request(Call::ping, "ping", "{}");
    // A subscription needs the account's id, which a read has told us by then.
    if (roll < 20 && accountId_ && !subscribed_) {
        return request(Call::subscribe, "resources/subscribe",
                       R"({"uri":)" + quoted(historyUri(*accountId_)) + "}");
    }
    if (roll < 55) {
        const int limit = std::uniform_int_distribution<int>(1, 10)(random);
        std::string arguments = R"({"limit":)" + std::to_string(limit);
        // Now and then the next page, as a reader scrolling back would ask for it.
        if (!nextBefore_.empty() && roll < 35) arguments += R"(,"before":)" + quoted(nextBefore_);
        return toolRequest(Call::getHistory, "getHistory", arguments + "}");
    }
    return toolRequest(Call::getBalance, "getBalance", "{}");
}

void SimulatedAgent::disconnected() {
    pending_.clear();
    joining_ = false;
    subscribed_ = false;
    nextBefore_.clear();
}

SimulatedAgent::Heard SimulatedAgent::hear(std::string_view line) {
    Heard heard;
    const AgentReply reply = AgentReply::of(line);
    if (!reply.readable) {
        heard.note = "unreadable line from the bridge";
        return heard;
    }
    if (!reply.id) {
        if (reply.method == "notifications/resources/updated") {
            heard.note = "history changed (" + reply.uri + ")";
        } else if (!reply.method.empty()) {
            heard.note = "notification " + reply.method;
        } else if (reply.errorCode) {
            heard.hostMissing = *reply.errorCode == hostNotRunning;
            heard.note = "error " + std::to_string(*reply.errorCode) + ": " + reply.errorMessage;
        }
        return heard;
    }
    const auto found = pending_.find(*reply.id);
    if (found == pending_.end()) {
        heard.note = "reply to an unknown request " + std::to_string(*reply.id);
        return heard;
    }
    const Call call = found->second;
    pending_.erase(found);
    heard.note = describe(call, reply, heard);
    return heard;
}

std::string SimulatedAgent::describe(Call call, const AgentReply& reply, Heard& heard) {
    static constexpr const char* names[] = {"initialize", "signUp", "login",    "getBalance",
                                            "getHistory", "ping",   "subscribe"};
    std::string name = names[static_cast<int>(call)];
    const bool joined = call == Call::signUp || call == Call::login;
    if (joined) joining_ = false;
    heard.handshakeFailed = call == Call::initialize && (reply.errorCode || !reply.hasResult);
    if (reply.errorCode) {
        heard.hostMissing = *reply.errorCode == hostNotRunning;
        return name + " → error " + std::to_string(*reply.errorCode) + ": " + reply.errorMessage;
    }
    if (!reply.hasResult) return name + " → an answer without a result";
    if (reply.toolFailed) {
        if (call == Call::login) {
            // The account was deleted at the desk, say: start over under a new one.
            accountId_.reset();
            heard.answer.push_back(signUpRequest());
            return "login refused (" + reply.errorMessage + "), signing up again";
        }
        return name + " → " + reply.toolErrorCode + ": " + reply.errorMessage;
    }
    if (persona_.signsUp && !joined && !joining_ && accountId_ && !reply.accountId.empty() &&
        reply.accountId != *accountId_) {
        // The host answered for another account: ours was deleted at the desk.
        heard.answer.push_back(signUpRequest());
        return "account " + *accountId_ + " is gone, signing up again";
    }
    if (!reply.accountId.empty()) accountId_ = reply.accountId;
    if (joined && reply.accountId.empty()) return name + " → an answer without an account";
    const std::string balance = reply.balance ? std::to_string(*reply.balance) : "?";
    switch (call) {
        case Call::initialize:
            heard.handshakeDone = true;
            return "connected as " + persona_.clientName + " " + persona_.clientVersion + " (protocol " +
                   reply.protocolVersion + ")";
        case Call::signUp: return "signUp → account " + reply.accountId + ", balance " + balance;
        case Call::login: return "login → account " + reply.accountId + ", balance " + balance;
        case Call::getBalance: return "getBalance → " + balance;
        case Call::getHistory:
            nextBefore_ = reply.nextBefore;
            return "getHistory → " + std::to_string(reply.entryCount.value_or(0)) +
                   (reply.entryCount == 1u ? " entry" : " entries") + ", balance " + balance;
        case Call::ping: return "ping → pong";
        case Call::subscribe:
            subscribed_ = true;
            return "subscribed to " + (accountId_ ? historyUri(*accountId_) : std::string("its history"));
    }
    return name;
}

}  // namespace tallywick
